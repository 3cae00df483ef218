#pragma once

// Whole runs of a decoder of the library, with a player that drops the PCM.
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoder.h"
#include "decoder/IDecoderCallback.h"
#include "sound/SoundDevice.h"
#include "stream/FileStream.h"

#include <boost/make_shared.hpp>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <unistd.h>

namespace avr { namespace bench {

using namespace kiv::appli;

/// Takes the PCM and drops it; the sound device completes at once, as nothing is queued.
class NullPlayer final : public IDecoderCallback {
public:
    int OnSample(const void*, unsigned int bytes, TimeSpec*) override
    {
        delivered += bytes;
        return 0;
    }
    int OnEvent(int event, void*, unsigned int) override
    {
        if (event == EventStreamInfo) {
            // The device's run begins here; it has no sink and takes nothing.
            avr::host::SoundDevice::instance().putEofMark(false);
            decoder->Start();
        }
        std::lock_guard<std::mutex> lock(m_lock);
        ended = ended || event == EventEndOfStream;
        m_over = m_over || event == EventClosed;
        m_wake.notify_all();
        return 0;
    }
    void waitForTheEnd()
    {
        std::unique_lock<std::mutex> lock(m_lock);
        m_wake.wait(lock, [this] { return m_over; });
    }

    IDecoder* decoder = nullptr;
    unsigned long long delivered = 0;
    bool ended = false;

private:
    std::mutex m_lock;
    std::condition_variable m_wake;
    bool m_over = false;
};

/// Plays a file to its end, or ends the process.
inline void playThroughEngine(const char* format, std::string const& path)
{
    NullPlayer player;
    player.decoder = Avr::Decoder::LookupFromFormat(format);
    player.decoder->Open(boost::make_shared<avr::host::FileStream>(path), &player);
    player.waitForTheEnd();
    player.decoder->Close();
    if (!player.ended || player.delivered == 0) {
        std::fprintf(stderr, "bench: %s did not play\n", path.c_str());
        std::_Exit(1);
    }
}

/// Where to print: the library's own log, on both standard outputs, goes nowhere.
inline std::FILE* quietOutput()
{
    std::FILE* const out = fdopen(dup(STDOUT_FILENO), "w");
    std::setvbuf(out, nullptr, _IOLBF, 0);
    int const null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    return out;
}

}} // namespace avr::bench
