#include "DecoderRun.h"
#include "LpcmDecoder.h"
#include "TransEndian.h"

using namespace avr::test;
using namespace kiv::appli;
using Avr::Decoder::LpcmDecoder;

namespace {

Bytes swapped(Bytes bytes)
{
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

class Lpcm : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    int set(int type, std::string text) { return decoder.SetProperty(type, text); }
    std::string get(int type)
    {
        std::string text = "untouched";
        int const result = decoder.GetProperty(type, text);
        return result == Ok ? text : text + std::to_string(result);
    }

    LpcmDecoder decoder;
};

} // namespace

TEST_F(Lpcm, SwapsEveryWordAndCarriesTheDefaults)
{
    Script script;
    script.data = noise(50000);
    open(script);
    EXPECT_EQ("44100", get(DecoderPropTypeBase::SampleRate)); // in force when Open returns
    play();
    EXPECT_EQ(swapped(script.data), callback.pcm());
    EXPECT_EQ(8192u, callback.blocks().front());
    DecoderStreamInfo const info = callback.info();
    EXPECT_EQ(0x10001100u, info.codecId);
    EXPECT_EQ(1411200u, info.bitRate);
    EXPECT_EQ(0u, info.decoderWord);
    EXPECT_EQ(16, info.format.validBitsPerSample);
    EXPECT_EQ((std::vector<int>{2, 4, 6, 1}), callback.events());
    EXPECT_EQ(0, FakeSoundDevice::instance().marksPut); // the player marks the end itself
}

TEST_F(Lpcm, OddAndDelayedReadsLoseNothing)
{
    for (unsigned longest : {3u, 4095u}) {
        Script script;
        script.data = noise(2001); // the odd last byte is no sample
        script.longestRead = longest;
        script.retryBeforeEach = longest != 3;
        open(script);
        play();
        Bytes expected = swapped(script.data);
        expected.pop_back();
        EXPECT_EQ(expected, callback.pcm()) << longest;
    }
}

TEST_F(Lpcm, PropertiesSetAfterOpenHoldOnEitherSideOfEventTwo)
{
    std::string wrong = "8000";
    decoder.SetProperty(DecoderPropTypeBase::SampleRate, wrong); // before Open: lost
    for (bool afterEvent : {false, true}) {
        open(noise(5000));
        if (afterEvent) {
            ASSERT_TRUE(callback.waitFor(2));
        }
        EXPECT_EQ(Ok, set(DecoderPropTypeBase::Channels, "1"));
        EXPECT_EQ(Ok, set(DecoderPropTypeBase::SampleRate, "22050"));
        play();
        EXPECT_EQ(4096u, callback.blocks().front());
        EXPECT_EQ(20498866u, callback.lastDuration().nanoseconds); // 904 bytes of 44100 a second
        EXPECT_EQ(44100u, callback.info().format.samplesPerSecond);
        tWAVEFORMAT format;
        decoder.GetWaveFormat(format);
        EXPECT_EQ(22050u, format.samplesPerSecond);
        EXPECT_EQ(44100u, format.averageBytesPerSecond);
        EXPECT_EQ(2, format.blockAlign);
    }
}

TEST_F(Lpcm, PropertiesThatAreNoNumbersChangeNothing)
{
    Script script;
    script.fault = Script::Fault::RetryForever;
    open(script);
    for (const char* text : {"", "abc", "-1", "1e3", "4294967296", " 5", "5x"})
        EXPECT_EQ(ErrorFailed, set(DecoderPropTypeBase::SampleRate, text)) << text;
    EXPECT_EQ(ErrorFailed, set(DecoderPropTypeBase::Channels, "65536"));
    EXPECT_EQ(ErrorFailed, set(DecoderPropTypeBase::BitsPerSample, "-16"));
    EXPECT_EQ(Ok, set(DecoderPropTypeBase::CodecName, "x"));
    EXPECT_EQ("44100", get(0));
    EXPECT_EQ("16", get(1));
    EXPECT_EQ("2", get(2));
    EXPECT_EQ("Lpcm", get(4));
    EXPECT_EQ("1411200", get(6));
    for (int type : {3, 5, 7, -1, 1000})
        EXPECT_EQ("-10002", get(type)) << type;
}

TEST_F(Lpcm, FormatsWithoutAFrameOrWithoutEndEndTheRun)
{
    for (const char* bits : {"0", "65528"}) {
        open(noise(5000));
        set(DecoderPropTypeBase::BitsPerSample, bits);
        if (std::string(bits) != "0")
            set(DecoderPropTypeBase::Channels, "8");
        play();
        EXPECT_TRUE(callback.pcm().empty());
        EXPECT_EQ((std::vector<int>{2, 4, 0, 1}), callback.events());
    }
}

TEST_F(Lpcm, SeeksByTimeFirstThenByWholeFrames)
{
    Script script;
    script.fault = Script::Fault::RetryForever;
    script.capabilities = 0x30;
    openAndWait(script);
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{1, 500000000}));
    EXPECT_EQ(1.5, stream->lastTime());
    EXPECT_EQ(1, callback.count(10));
    script.capabilities = 0x10;
    openAndWait(script);
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{1, 500000000}));
    EXPECT_EQ(264600, stream->lastOffset());
    EXPECT_EQ(ErrorNotSupported, decoder.Seek(5L));
    EXPECT_EQ(ErrorNotSupported, decoder.Seek(5.0));
    script.capabilities = 0;
    openAndWait(script);
    EXPECT_EQ(ErrorNotSupported, decoder.Seek(TimeSpec{1, 0}));
    EXPECT_EQ(0, callback.count(10));
}

TEST_F(Lpcm, ASeekForgetsTheOddByte)
{
    Script script;
    script.data = noise(3000);
    script.longestRead = 3;
    callback.onSample = [&] {
        if (callback.blocks().size() == 1) {
            EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 5675737})); // byte 1000
        }
        return 0;
    };
    open(script);
    play();
    EXPECT_EQ(1000, stream->lastOffset());
    Bytes expected = swapped(Bytes(script.data.begin() + 1000, script.data.end()));
    Bytes const first = swapped(Bytes(script.data.begin(), script.data.begin() + 2));
    expected.insert(expected.begin(), first.begin(), first.end());
    EXPECT_EQ(expected, callback.pcm());
}

TEST(TransEndian, SwapsAnyCount)
{
    EXPECT_EQ(0x3412, kiv::sound::transEndian<short>(0x1234));
    EXPECT_EQ(-128, kiv::sound::transEndian<short>(static_cast<short>(0x80FF)));
    std::vector<short> from(200), to(201, 7);
    for (std::size_t i = 0; i < from.size(); ++i)
        from[i] = static_cast<short>(i * 771 + 128);
    for (std::size_t words : {0u, 1u, 15u, 16u, 17u, 200u}) {
        to.assign(201, 7);
        kiv::sound::transEndian(from.data(), to.data(), words);
        for (std::size_t i = 0; i < words; ++i)
            ASSERT_EQ(kiv::sound::transEndian<short>(to[i]), from[i]);
        EXPECT_EQ(7, to[words]);
    }
}
