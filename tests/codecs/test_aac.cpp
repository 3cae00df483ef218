#include "AacFile.h"
#include "AacPlay.h"
#include "AacStreamType.h"
#include "DecoderRun.h"
#include "LogCapture.h"
#include "TestData.h"
#include "Upsample.h"
#include "VAACDecoder.h"

using namespace avr::test;
using namespace kiv::appli;
using Events = std::vector<int>;

namespace {

class Aac : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    VAACDecoder decoder;
};

/// What is to be heard of what a codec gives, but for two frames: 32-bit stereo of 44100 Hz.
Bytes audible(std::vector<std::int16_t> const& planes, unsigned int channels, bool halfRate)
{
    avr::upsample upsample;
    upsample.select_converter(20, 2);
    Bytes pcm;
    for (std::size_t at = 2 * channels * 1024; at < planes.size(); at += channels * 1024) {
        std::vector<int> block, twice(4096);
        for (std::size_t i = 0; i < 1024; ++i)
            for (std::size_t side : {std::size_t{0}, channels - std::size_t{1}})
                block.push_back(planes[at + 1024 * side + i] * 65536);
        if (halfRate)
            upsample.do_convert_2_2(block.data(), 2048, twice.data());
        for (int sample : halfRate ? twice : block)
            append(pcm, static_cast<std::uint32_t>(sample), 4);
    }
    return pcm;
}

/// How many of the frames an ADIF file's chunks of 512 bytes hold.
std::size_t framesInChunks(Bytes const& file, Frames const& frames)
{
    std::size_t whole = frames.size();
    for (std::size_t end = file.size(); end > file.size() / 512 * 512;
         end -= blockOf(frames[whole]).size())
        --whole;
    return whole;
}

/// The atom of that name, from the last one's beginning.
Bytes::iterator find(Bytes& file, std::string const& name)
{
    auto const at = std::find_end(file.begin(), file.end(), name.begin(), name.end());
    EXPECT_NE(file.end(), at) << name;
    return at - 4;
}

} // namespace

TEST_F(Aac, EveryFrameButTwoIsHeard)
{
    Bytes const mono = testData("lc-mono.aac"), stereo = testData("he-stereo.aac");
    Frames const frames = framesOf(mono);
    Bytes const headed = adif(frames, 4, false, 1);
    struct {
        Bytes file;
        std::size_t frames;
        unsigned int channels;
        bool halfRate;
    } const cases[] = {
        {mono, frames.size(), 1, false},
        {testData("lc-mono.m4a"), frames.size(), 1, false},
        {headed, framesInChunks(headed, frames), 1, false},
        {stereo, framesOf(stereo).size(), 2, true},
        {testData("he-v2.m4a"), framesOf(testData("he-v2.aac")).size(), 1, true},
    };
    for (auto const& each : cases) {
        open(each.file);
        play();
        EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
        EXPECT_EQ(44100u, callback.info().format.samplesPerSecond);
        EXPECT_EQ(std::vector<unsigned int>(each.frames - 2, each.halfRate ? 16384 : 8192),
                  callback.blocks());
        EXPECT_TRUE(callback.pcm() ==
                    audible(AacPlay(each.file).all(), each.channels, each.halfRate));
    }
}

TEST_F(Aac, Mp4DescribesItselfAndSeeksBySamples)
{
    LogCapture log;
    Script script;
    script.data = testData("lc-mono.m4a");
    open(script);
    play();
    EXPECT_EQ(2000u, callback.info().decoderWord);
    EXPECT_NEAR(48000, callback.info().bitRate, 2500);
    EXPECT_TRUE(log.has("m_fileType=2\ntimescale=44100\n"));
    std::string text;
    EXPECT_EQ(ErrorFailed, decoder.SetProperty(0, text));
    EXPECT_EQ(Ok, decoder.GetProperty(DecoderPropTypeBase::CodecName, text));
    EXPECT_EQ("aac", text);

    for (std::uint32_t seconds : {0u, 1u, 9u}) {
        openAndWait(script);
        EXPECT_EQ(Ok, decoder.Seek(TimeSpec{seconds, 900000000}));
        play();
        EXPECT_EQ((Events{2, 10, 4, 6, 1}), callback.events());
        AacPlay codec(script.data);
        codec.step(); // as the probe does
        codec.index = seconds * 44100 / 1024;
        EXPECT_TRUE(callback.pcm() == audible(codec.all(), 1, false)) << seconds;
    }
}

TEST_F(Aac, SaysWhyAStreamCannotBePlayed)
{
    Bytes const file = testData("he-v2.m4a");
    Bytes otherCodec = file, fragmented = file, cut = file;
    *(find(otherCodec, "mp4a") + 7) = 'x';
    for (const char* table : {"stts", "stsc", "stsz", "stco"}) // counts of samples, or of entries
        std::fill_n(find(fragmented, table) + (table[3] == 'z' ? 16 : 12), 4, std::uint8_t{0});
    append(fragmented, Bytes{0, 0, 0, 8, 'm', 'o', 'o', 'f'});
    cut.resize(cut.size() - 50);
    struct {
        Bytes data;
        const char* line; ///< on standard error
    } const cases[] = {
        {Bytes(7), "[VAACDecoder::openHook] fread failed\n"},
        {testData("lc-surround.aac"), "unsupported channel number\n"},
        {Bytes(300000, 0x11), "[VAACDecoder::GetAACFileParameters] Error in  getting  MP4 frame -"},
        {adif({}, 4, false, 1), "[DecoderImple::PreDecode()] Open error caused.\n"},
        {cut, "[VAACDecoder::VAAC_open] VMP4_open error\n"},
        {otherCodec, "[VAACDecoder::VAAC_open] VMP4_getAudioTrack\n"},
        {fragmented, "[VAACDecoder::VAAC_open] VMP4_getAudioTrack\n"},
    };
    for (auto const& each : cases)
        expectRefused(each.data, each.line);
}

TEST_F(Aac, TellsTypesByTheirFirstBytes)
{
    EXPECT_EQ(0, VAAC_identifyType("ADIFxxxx"));
    EXPECT_EQ(2, VAAC_identifyType("xxxxftyp"));
    EXPECT_EQ(1, VAAC_identifyType("xxxxADIF"));
    EXPECT_EQ(19, VAAC_identifyType(nullptr));
    int state = 0;
    VAAC_getRandState(&state);
    EXPECT_NE(0, state);
    state = 5;
    VAAC_getRandState(&state);
    EXPECT_EQ(5, state);
}
