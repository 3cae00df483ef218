#include "DecoderRun.h"
#include "LogCapture.h"
#include "WaveTestModeDecoder.h"

using namespace avr::test;
using namespace kiv::appli;

namespace {

class TestMode : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    void playFile(WaveSpec const& spec)
    {
        open(waveFile(spec));
        play();
    }

    WaveTestModeDecoder decoder;
};

} // namespace

TEST_F(TestMode, PlaysSixtyTimesWithThePartialBlock)
{
    WaveSpec spec;
    spec.frames = 2500;
    LogCapture log;
    playFile(spec);
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

TEST_F(TestMode, EightBitSamplesShiftInEveryPassAnew)
{
    WaveSpec spec;
    spec.bits = 8;
    spec.channels = 1;
    spec.frames = 4096;
    playFile(spec);
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
    playFile(spec);
    EXPECT_EQ(6u, callback.blocks().size());
    EXPECT_EQ(1, callback.count(6));
}

TEST_F(TestMode, CloseEndsItInTheMiddleOfAPass)
{
    WaveSpec spec;
    spec.frames = 4096;
    callback.onSample = [&] { return callback.blocks().size() == 3 ? decoder.Close() : 0; };
    playFile(spec);
    EXPECT_EQ(3u, callback.blocks().size());
    EXPECT_EQ((std::vector<int>{2, 4, 1}), callback.events());
}
