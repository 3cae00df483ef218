// The host platform's part of the platform contract suite.
#include "PlatformUnderTest.h"

#include "TempDir.h"
#include "sound/Sinks.h"
#include "sound/SoundDevice.h"
#include "stream/FileStream.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

namespace avr { namespace test {

using namespace avr::host;

boost::shared_ptr<Avr::Interface::IReadableStream> platformStream(Bytes const& bytes)
{
    static TempDir const folder;
    std::string const path = folder.file("stream");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return boost::make_shared<FileStream>(path);
}

boost::shared_ptr<Avr::Interface::IReadableStream> missingStream()
{
    return boost::make_shared<FileStream>(testing::TempDir() + "no such file");
}

void beginSound()
{
    std::string error;
    SoundDevice::instance().setSink(makeNullSink(Pace::Realtime));
    PcmFormat format;
    format.rate = 8000;
    format.channels = 1;
    format.bytesPerSample = 2;
    ASSERT_TRUE(SoundDevice::instance().beginRun(format, error)) << error;
}

void queueSound(unsigned int milliseconds)
{
    Bytes const silence(milliseconds * 16);
    ASSERT_EQ(0, SoundDevice::instance().put(silence.data(), silence.size()));
}

void pauseSound(bool paused) { SoundDevice::instance().pause(paused); }

void discardSound() { SoundDevice::instance().discard(); }

}} // namespace avr::test
