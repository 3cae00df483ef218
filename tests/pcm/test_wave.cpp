#include "DecoderRun.h"
#include "LogCapture.h"
#include "WaveDecoder.h"

using namespace avr::test;
using namespace kiv::appli;

namespace {

class Wave : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    WaveDecoder decoder;
};

/// The whole blocks of the audio, as they are delivered.
Bytes wholeBlocks(Bytes audio, std::size_t block)
{
    audio.resize(audio.size() / block * block);
    return audio;
}

} // namespace

TEST_F(Wave, DeliversTheWholeBlocksUnchanged)
{
    WaveSpec spec;
    spec.frames = 5000;
    open(waveFile(spec));
    play();
    EXPECT_EQ(wholeBlocks(waveAudio(spec), 4096), callback.pcm());
    EXPECT_EQ(4u, callback.blocks().size());
    EXPECT_EQ(23219954u, callback.lastDuration().nanoseconds);
    EXPECT_EQ((std::vector<int>{2, 4, 6, 1}), callback.events());
    EXPECT_GE(FakeSoundDevice::instance().marksPut, 1);
    EXPECT_EQ(0x10001000u, callback.info().codecId);
    EXPECT_EQ(1411200u, callback.info().bitRate);
}

TEST_F(Wave, EightBitSamplesBecomeSigned)
{
    WaveSpec spec;
    spec.channels = 1;
    spec.bits = 8;
    spec.frames = 6000;
    open(waveFile(spec));
    play();
    Bytes expected = wholeBlocks(waveAudio(spec), 1024);
    for (auto& byte : expected)
        byte = static_cast<std::uint8_t>(byte - 0x80);
    EXPECT_EQ(expected, callback.pcm());
}

TEST_F(Wave, TheFilesRecordAndTheDeliveredFormatStayApart)
{
    WaveSpec spec;
    spec.bits = 12; // stored in 16
    spec.blockAlign = 4;
    spec.bytesPerSecond = 176400;
    spec.tag = 0xFFFE;
    spec.frames = 8000;
    open(waveFile(spec));
    ASSERT_TRUE(callback.waitFor(2));
    tWAVEFORMAT format;
    decoder.GetWaveFormat(format);
    EXPECT_EQ(0xFFFE, format.formatTag);
    EXPECT_EQ(4, format.blockAlign);
    EXPECT_EQ(1, callback.info().format.formatTag);
    EXPECT_EQ(3, callback.info().format.blockAlign);
    EXPECT_EQ(132300u, callback.info().format.averageBytesPerSecond);
    EXPECT_EQ(12, callback.info().format.validBitsPerSample);
    std::string text;
    EXPECT_EQ(Ok, decoder.GetProperty(DecoderPropTypeBase::CodecName, text));
    EXPECT_EQ("Wave", text);
    EXPECT_EQ(ErrorFailed, decoder.GetProperty(3, text));
    EXPECT_EQ("", text);
    EXPECT_EQ(Ok, decoder.SetProperty(0, text));
    play();
    EXPECT_EQ(4096u, callback.blocks().front());
    decoder.Open(streamOf({}), &callback); // a new track knows nothing of the old one
    decoder.GetWaveFormat(format);
    EXPECT_EQ(0, format.formatTag);
}

TEST_F(Wave, ReportsDurationInWholeSecondsAndTheOffset)
{
    WaveSpec spec;
    spec.frames = 250000; // 1,000,000 bytes: 5.67 seconds
    LogCapture log;
    open(waveFile(spec));
    ASSERT_TRUE(callback.waitFor(2));
    EXPECT_EQ(5000u, callback.info().decoderWord);
    EXPECT_TRUE(log.has("[WaveDecoder::moveToTop] duration = 5000\n"
                        "[WaveDecoder::moveToTop] seek offset = 44\n"
                        "[BufferReaderModule::StartBuffering] finished!!. size=1411200\n"));
    Script unknown;
    unknown.data = waveFile(spec);
    unknown.knowsLength = false;
    openAndWait(unknown);
    EXPECT_EQ(0u, callback.info().decoderWord);
}

TEST_F(Wave, SaysWhyAFileCannotBePlayed)
{
    WaveSpec floats;
    floats.tag = 3;
    WaveSpec far;
    far.betweenFmtAndData = chunk("LIST", Bytes(5000));
    struct {
        Bytes file;
        const char* line;
    } const cases[] = {
        {noise(5000), "[getWaveFormatFromBuffer] couldn't find 'WAVE' tag.\n"
                      "[WaveDecoder::moveToTop] can't get Waveformat.\n"},
        {waveFile(far), "[getWaveFormatFromBuffer] ptr over!!. distance=5044\n"
                        "[WaveDecoder::moveToTop] can't get Waveformat.\n"},
        {waveFile(floats), "[WaveDecoder::moveToTop] unsupported format: 3\n"},
        {Bytes(100), "[DecoderImple::PreDecode()] Open error caused.\n"}, // under 4096 bytes
    };
    for (auto const& each : cases) {
        LogCapture log;
        open(each.file);
        ASSERT_TRUE(callback.waitFor(1));
        EXPECT_EQ((std::vector<int>{11, 1}), callback.events()) << each.line;
        EXPECT_TRUE(log.has(each.line)) << log.text();
    }
}

TEST_F(Wave, SeeksByByteFirstAndReportsThePosition)
{
    WaveSpec spec;
    spec.rate = 48000;
    spec.frames = 200000;
    Script script;
    script.data = waveFile(spec);
    script.capabilities = 0x30;
    openAndWait(script);
    ASSERT_EQ(Ok, decoder.Seek(TimeSpec{2, 0}));
    EXPECT_EQ(2u, callback.position().seconds);
    EXPECT_EQ(Ok, decoder.Seek(7L));
    EXPECT_EQ(Ok, decoder.Seek(7.0));
    EXPECT_EQ(1, callback.count(10));
    play();
    Bytes const audio = waveAudio(spec);
    Bytes const tail(audio.begin() + 384000, audio.end());
    EXPECT_EQ(wholeBlocks(tail, 4096), callback.pcm());
}

TEST_F(Wave, SeeksThatFailOrCannotBe)
{
    WaveSpec spec;
    spec.frames = 600000;
    Script script;
    script.data = waveFile(spec);
    script.seeksFail = true;
    openAndWait(script);
    LogCapture log;
    EXPECT_EQ(1, decoder.Seek(TimeSpec{13, 0})); // out of the buffer, so the stream is asked
    EXPECT_TRUE(log.has("[StreamSeek] Seek operation failed\n"));
    EXPECT_EQ(1, callback.count(10));
    script.seeksFail = false;
    script.capabilities = 0x20;
    openAndWait(script);
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{2, 250000000}));
    EXPECT_EQ(2.25, stream->lastTime());
    script.capabilities = 0;
    openAndWait(script);
    EXPECT_EQ(ErrorNotSupported, decoder.Seek(TimeSpec{2, 0}));
    EXPECT_EQ(0, callback.count(10));
}

TEST_F(Wave, HostileNumbersEndTheRunQuietly)
{
    struct {
        int blockAlign;
        long long bytesPerSecond;
        std::uint16_t bits, channels;
        bool plays;
    } const cases[] = {
        {0, 0, 16, 2, false},           // no frame
        {4, 0, 16, 2, true},            // no time
        {4, 0xFFFFFFFFLL, 16, 2, true}, // more than 32 bits of bit rate
        {65535, 1, 16, 2, false},       // a block above 16 MiB
        {4, 1, 0, 0, true},
        {4, 0x20000000, 65535, 65535, true}, // a bit rate that wraps to 0
    };
    for (auto const& each : cases) {
        WaveSpec spec;
        spec.frames = 20000;
        Bytes file = waveFile(spec);
        spec.blockAlign = each.blockAlign;
        spec.bytesPerSecond = each.bytesPerSecond;
        Bytes const head = waveFile(spec);
        std::copy(head.begin(), head.begin() + 44, file.begin());
        file[22] = static_cast<std::uint8_t>(each.channels);
        file[23] = static_cast<std::uint8_t>(each.channels >> 8);
        file[34] = static_cast<std::uint8_t>(each.bits);
        file[35] = static_cast<std::uint8_t>(each.bits >> 8);
        open(file);
        ASSERT_TRUE(callback.waitFor(2));
        decoder.Seek(TimeSpec{0, 0});
        play();
        EXPECT_EQ(each.plays, !callback.pcm().empty()) << each.blockAlign << each.bytesPerSecond;
        EXPECT_EQ(each.plays ? 1 : 0, callback.count(6));
    }
}
