// The least that a player is: writes a file's PCM to standard output.
//
//   minimal_player FORMAT FILE >PCM        FORMAT as avrplay --formats lists it: wav, flac, ...
//   c++ -std=c++17 minimal_player.cpp $(pkg-config --cflags --libs avrdecoder)
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoder.h"
#include "decoder/IDecoderCallback.h"
#include "host/stream/FileStream.h"

#include <boost/make_shared.hpp>

#include <cstdio>
#include <future>

#include <unistd.h>

using namespace kiv::appli;

namespace {

/// One run. The calls come on the decoding thread.
class Player final : public IDecoderCallback {
public:
    Player(IDecoder& decoder, int output) : m_decoder(decoder), m_output(output) {}

    int OnSample(const void* pcm, unsigned int bytes, TimeSpec*) override
    {
        auto* from = static_cast<const char*>(pcm);
        while (bytes > 0) {
            ssize_t const written = write(m_output, from, bytes);
            if (written <= 0)
                return ErrorFailed; // ends the run
            from += written;
            bytes -= static_cast<unsigned int>(written);
        }
        return Ok;
    }

    int OnEvent(int event, void* data, unsigned int) override
    {
        if (event == EventStreamInfo) { // the format is known: a sound device would be opened here
            tWAVEFORMAT const& format = static_cast<DecoderStreamInfo*>(data)->format;
            std::fprintf(stderr, "%u Hz, %u bits, %u channels\n", unsigned(format.samplesPerSecond),
                         unsigned(format.bitsPerSample), unsigned(format.channels));
            m_decoder.Start();
        } else if (event == EventEndOfStream) {
            m_decoded = true;
        } else if (event == EventClosed) { // always comes, and last
            m_over.set_value(m_decoded);
        }
        return 0;
    }

    /// Waits for the end of the run. @return whether it came to the end of the file
    bool finish() { return m_over.get_future().get(); }

private:
    IDecoder& m_decoder;
    int const m_output;
    bool m_decoded = false;
    std::promise<bool> m_over;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: minimal_player FORMAT FILE >PCM\n");
        return 2;
    }
    // The library writes its log to both standard outputs: this one is for PCM alone.
    int const output = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);

    Avr::Decoder::InitDecoder();
    IDecoder* const decoder = Avr::Decoder::LookupFromFormat(argv[1]);
    if (!decoder) {
        std::fprintf(stderr, "%s: no such decoder\n", argv[1]);
        return 2;
    }
    Player player(*decoder, output);
    decoder->Open(boost::make_shared<avr::host::FileStream>(argv[2]), &player);
    bool const decoded = player.finish();
    decoder->Close(); // waits until the decoding thread has left the player
    return decoded ? 0 : 1;
}
