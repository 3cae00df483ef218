#include "FakeSoundDevice.h"
#include "LogCapture.h"
#include "RecordingCallback.h"
#include "Samples.h"
#include "WaveTestModeDecoder.h"

#include <gtest/gtest.h>

#include <thread>

using namespace avr::test;
using namespace kiv::appli;

namespace {

class TestMode : public testing::Test {
protected:
    void play(Bytes file)
    {
        FakeSoundDevice::instance().beginRun();
        callback.clear();
        ASSERT_EQ(Ok, decoder.Open(streamOf(std::move(file)), &callback));
        ASSERT_TRUE(callback.waitFor(2));
        ASSERT_EQ(Ok, decoder.Start());
        ASSERT_TRUE(callback.waitFor(1));
    }

    RecordingCallback callback;
    WaveTestModeDecoder decoder;
};

} // namespace

TEST_F(TestMode, PlaysSixtyTimesWithThePartialBlock)
{
    WaveSpec spec;
    spec.frames = 2500;
    LogCapture log;
    play(waveFile(spec));
    Bytes const once = waveAudio(spec);
    Bytes expected;
    for (int pass = 0; pass < 60; ++pass)
        append(expected, once);
    EXPECT_EQ(expected, callback.pcm());
    EXPECT_EQ((std::vector<int>{2, 4, 6, 1}), callback.events());
    EXPECT_TRUE(log.has("[WaveTestModeDecoder::moveToTop] DataSize = 10000\n"));
    EXPECT_TRUE(log.has("[WaveTestModeDecoder::] read error caused. outSize=0\n"));
    EXPECT_EQ(1, FakeSoundDevice::instance().marksPut);
}

TEST_F(TestMode, AnnouncesThirtyFiveTimesTheDuration)
{
    WaveSpec spec;
    spec.frames = 44100;
    callback.onSample = [] { return -3; };
    play(waveFile(spec));
    EXPECT_EQ(35000u, callback.info().decoderWord);
    // The refused block ends the run with its result and puts no mark.
    EXPECT_EQ((std::vector<int>{2, 4, 0, 1}), callback.events());
    EXPECT_EQ(1u, callback.blocks().size());
    EXPECT_EQ(0, FakeSoundDevice::instance().marksPut);
}

TEST_F(TestMode, EightBitSamplesShiftInEveryPassAnew)
{
    WaveSpec spec;
    spec.bits = 8;
    spec.channels = 1;
    spec.frames = 4096;
    play(waveFile(spec));
    Bytes const audio = waveAudio(spec);
    Bytes const pcm = callback.pcm();
    ASSERT_EQ(60u * 4096, pcm.size());
    EXPECT_EQ(audio[5] ^ 0x80, pcm[5]);
    EXPECT_EQ(audio[5], pcm[4096 + 5]);
}

TEST_F(TestMode, TheFlagEndsThePassesAtTheNextBlock)
{
    WaveSpec spec;
    spec.frames = 4096;
    int blocks = 0;
    callback.onSample = [&] {
        if (++blocks == 6)
            m_flag = true;
        return 0;
    };
    play(waveFile(spec));
    EXPECT_EQ(6u, callback.blocks().size());
    EXPECT_EQ(1, callback.count(6));
}

TEST_F(TestMode, CloseEndsItInTheMiddleOfAPass)
{
    WaveSpec spec;
    spec.frames = 4096;
    callback.onSample = [&] { return callback.blocks().size() == 3 ? decoder.Close() : 0; };
    play(waveFile(spec));
    EXPECT_EQ(3u, callback.blocks().size());
    EXPECT_EQ((std::vector<int>{2, 4, 1}), callback.events());
}

TEST_F(TestMode, CloseEndsItWhileTheDeviceDrains)
{
    WaveSpec spec;
    spec.frames = 1024;
    FakeSoundDevice::instance().beginRun();
    FakeSoundDevice::instance().completes = false;
    ASSERT_EQ(Ok, decoder.Open(streamOf(waveFile(spec)), &callback));
    ASSERT_TRUE(callback.waitFor(2));
    decoder.Start();
    while (FakeSoundDevice::instance().marksPut == 0)
        std::this_thread::yield();
    decoder.Close();
    EXPECT_EQ((std::vector<int>{2, 4, 1}), callback.events());
}
