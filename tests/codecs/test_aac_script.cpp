// What only a codec that misbehaves brings about, and every rate.
#include "AacStreamType.h"
#include "Samples.h"
#include "ScriptedAac.h"
#include "ScriptedRun.h"
#include "Upsample.h"
#include "VAACDecoder.h"

using namespace avr::test;
using namespace kiv::appli;
using Step = ScriptedAac::Step;
using Steps = std::vector<Step>;
using Played = std::vector<std::int32_t>;

namespace {

Step const Good{};
Step const Silent{44100, 2, 0};
Step const Broken{44100, 2, 0, 7};

Bytes const Adts = noise(10);
Bytes const Mp4 = {'s', 'i', 'z', 'e', 'f', 't', 'y', 'p'};
Bytes const Adif = [] {
    Bytes file = {'A', 'D', 'I', 'F'};
    file.resize(1000);
    return file;
}();

class AacScript : public ScriptedRun {
protected:
    AacScript() { script = ScriptedAac(); }

    IDecoder& underTest() override { return decoder; }

    void run(Steps steps, std::vector<int> const& events, Bytes const& data = Adts)
    {
        begin(std::move(steps), data);
        expectEvents(events);
    }
    /// The settings hold on.
    void begin(Steps steps, Bytes const& data)
    {
        decoder.Close();
        script.number = script.initsDone = 0;
        script.samplesAsked.clear();
        script.steps = std::move(steps);
        open(data);
    }
    /// The numbers of the steps that were played, on the left or the right.
    Played numbers(std::size_t side) const
    {
        Played all = played(side);
        for (std::int32_t& each : all)
            each /= 0x10000;
        return all;
    }

    ScriptedAac& script = ScriptedAac::instance();
    VAACDecoder decoder;
};

/// The blocks of steps 3, 4 and 5.
Bytes converted(int rate)
{
    avr::upsample upsample;
    upsample.select_converter(rate, 2);
    Bytes pcm;
    for (int step = 3; step <= 5; ++step) {
        std::vector<int> block, out(2048 * 12);
        for (int i = 0; i < 1024; ++i)
            block.insert(block.end(), {step * 0x10000, -step * 0x10000});
        if (rate != 0) {
            int const count = (upsample.*upsample.m_converter)(block.data(), 2048, out.data());
            block.assign(out.begin(), out.begin() + count);
        }
        for (int sample : block)
            append(pcm, static_cast<std::uint32_t>(sample), 4);
    }
    return pcm;
}

std::string conversion(unsigned int from, unsigned int to)
{
    return "[VAAC up convert for SXM 2.0] srcFs=" + std::to_string(from) +
           ", dstFs=" + std::to_string(to) + "\n";
}

} // namespace

TEST_F(AacScript, EveryRateIsBroughtToItsDestination)
{
    struct {
        std::uint32_t rate, delivered;
        int tenTimes; ///< the ratio
    } const cases[] = {{96000, 96000, 0},  {48000, 48000, 0},  {44100, 44100, 0},
                       {32000, 48000, 15}, {24000, 48000, 20}, {22050, 44100, 20},
                       {16000, 48000, 30}, {12000, 48000, 40}, {11025, 44100, 40},
                       {8000, 48000, 60},  {7350, 0, 0}};
    for (auto const& each : cases) {
        LogCapture log;
        run(Steps(5, Step{each.rate}), PlayedToTheEnd);
        tWAVEFORMAT const expected{1, 2, each.delivered, each.delivered * 8, 8, 32, 0, 32, 0};
        DecoderStreamInfo const info = callback.info();
        EXPECT_EQ(0, std::memcmp(&expected, &info.format, sizeof expected)) << each.rate;
        EXPECT_EQ(CodecAac, info.codecId);
        EXPECT_EQ(0u, info.bitRate + info.decoderWord);
        EXPECT_TRUE(callback.pcm() == converted(each.tenTimes)) << each.rate;
        EXPECT_EQ(3u, callback.blocks().size());
        EXPECT_EQ(each.rate < 44100 ? conversion(each.rate, each.delivered) : "",
                  linesWith({"SAMPLER", "srcFs"}, log));
        EXPECT_EQ(each.tenTimes ? "new buffer size for up-sampler = 262144 bytes\n" : "",
                  linesWith({"new buffer"}, log));
        std::uint32_t const bytes = callback.blocks().back();
        EXPECT_EQ(each.delivered ? bytes * 1000000000ull / (each.delivered * 8) : 0u,
                  callback.lastDuration().nanoseconds);
    }
}

TEST_F(AacScript, ARateThatChangesBeginsOrEndsTheConversion)
{
    struct {
        std::uint32_t first, second;
        unsigned int firstBytes, secondBytes;
        std::string lines;
    } const cases[] = {
        {44100, 22050, 8192, 16384, "[UP-SAMPLER] change rate 22050\n" + conversion(22050, 44100)},
        {48000, 7350, 8192, 8192, "[UP-SAMPLER] change rate 7350\n" + conversion(7350, 0)},
        {22050, 48000, 16384, 8192, conversion(22050, 44100) + "[UP-SAMPLER] reset rate 48000\n"},
        {22050, 11025, 16384, 16384, conversion(22050, 44100)},
        {48000, 44100, 8192, 8192, ""},
    };
    for (auto const& each : cases) {
        LogCapture log;
        Steps steps(4, Step{each.first});
        steps.resize(6, Step{each.second});
        run(steps, PlayedToTheEnd);
        EXPECT_EQ((std::vector<unsigned int>{each.firstBytes, each.firstBytes, each.secondBytes,
                                             each.secondBytes}),
                  callback.blocks());
        EXPECT_EQ(each.lines, linesWith({"SAMPLER", "srcFs"}, log));
    }
    run({Step{11025}, Step{11025}, Step{11025}, Good, Step{8000}}, PlayedToTheEnd);
    EXPECT_EQ((std::vector<unsigned int>{32768, 8192, 49152}), callback.blocks());
}

TEST_F(AacScript, TheSecondFrameAfterTheProbeIsTheFirstToBePlayed)
{
    Step const mono{44100, 1}, surround{44100, 6}, fed{44100, 2, 1024, 0, 100, false};
    run({Silent, Good, Silent, Good, Silent, Good, mono, surround, fed}, PlayedToTheEnd);
    EXPECT_EQ((Played{6, 7, 8, 9}), numbers(0));
    EXPECT_EQ((Played{-6, 7, -8, -9}), numbers(1));
    EXPECT_EQ(9, script.fetches) << "none for the last one, but one at the end";
    EXPECT_EQ(0, script.closes);
}

TEST_F(AacScript, SaysWhyAStreamCannotBePlayed)
{
    std::string const name = "[VAACDecoder::GetAACFileParameters] ";
    std::string const noTrack = "[VAACDecoder::VAAC_open] VMP4_getAudioTrack\n" + name +
                                "Error in  getting  MP4 frame -5\n";
    std::string const threeChannels = name + "samplingFreq=96000\n" + name + "channelsCnt=3\n" +
                                      name + "samples=1024\nunsupported channel number\n";
    const char* const notOpen = "ERROR OF OPEN AAC\n";
    const char* const notKnown = "GetAACFileParameters() error\n";
    Step const fatal{44100, 2, 0, VAAC_FatalError}, lost{44100, 2, 0, 0, -5}, ended{0, 0, 0, 0, 0};
    struct {
        Bytes data;
        Steps steps;
        std::vector<int> inits;
        int opened;
        std::int16_t track;
        std::string error, output; ///< lines of the decoder, on standard error and output
    } const cases[] = {
        {Adts, {}, {}, -1, 0, "", notOpen},
        {Mp4, {}, {}, -1, 0, "[VAACDecoder::VAAC_open] VMP4_open error\n", notOpen},
        {Mp4, {lost}, {}, 0, -1, noTrack, notKnown},
        {Adts, {}, {-1}, 0, 0, "", "VAAC_init() error\n"},
        {Adts, {Broken, Broken, fatal, Good}, {}, 0, 0, "", notKnown},
        {Adts, {Broken, Good}, {0, -1}, 0, 0, name + "ERROR of VAAC_init\n", notKnown},
        {Adif, {Broken, Good}, {}, 0, 0, "", notKnown},
        {Adts, {Silent, ended}, {}, 0, 0, "", notKnown},
        {Adts, {Silent, {96000, 3}}, {}, 0, 0, threeChannels, notKnown},
    };
    for (auto const& each : cases) {
        script.inits = each.inits;
        script.opened = each.opened;
        script.track = each.track;
        LogCapture error, output(STDOUT_FILENO);
        run(each.steps, Refused, each.data);
        EXPECT_EQ(each.error, linesWith({"VAACDecoder", "unsupported"}, error));
        EXPECT_EQ(each.output, output.text());
    }
}

TEST_F(AacScript, TheSixthFailureToBeginAnewEndsTheRun)
{
    LogCapture output(STDOUT_FILENO);
    Steps steps(15, Broken);
    steps[0] = steps[1] = steps[7] = Good;
    script.inits = std::vector<int>(15, -1);
    script.inits[0] = script.inits[8] = 0;
    std::string lines;
    for (int failure : {1, 2, 3, 4, 5, 1, 2, 0, 3, 4, 5, 6})
        lines += "ERROR of VAAC_decode : 7\n" +
                 (failure == 0 ? "" : "ERROR of VAAC_init : " + std::to_string(failure) + "\n");
    steps.push_back(Broken);
    run(steps, Failed);
    EXPECT_EQ(Played{8}, numbers(0));
    EXPECT_EQ(lines, output.text());
}

TEST_F(AacScript, WhatEndsARun)
{
    Step const fatal{44100, 2, 0, VAAC_FatalError}, lost{44100, 2, 0, 0, -5};
    struct {
        Bytes data;
        Steps last;
        std::vector<int> events;
        std::string output;
        std::size_t blocks;
    } const cases[] = {
        {Adts, {fatal, Good}, PlayedToTheEnd, "ERROR of VAAC_decode : 2\n", 2},
        {Adif, {Broken, Good}, PlayedToTheEnd, "ERROR of VAAC_decode : 7\n", 1},
        {Adts, {lost, Good}, Failed, "Error in  getting  MP4 frame -5\n", 1},
        {Mp4, {lost, Good}, Failed, "Error in  getting  MP4 frame -5\n", 1},
    };
    for (auto const& each : cases) {
        LogCapture output(STDOUT_FILENO);
        Steps steps(3, Good);
        steps.insert(steps.end(), each.last.begin(), each.last.end());
        run(steps, each.events, each.data);
        EXPECT_EQ(each.output, output.text());
        EXPECT_EQ(each.blocks, callback.blocks().size());
    }
    LogCapture output(STDOUT_FILENO);
    callback.onSample = [] { return -5; };
    run(Steps(5, Good), Failed);
    EXPECT_EQ("ERROR of VAAC_writePcm : -5\n", output.text());
    EXPECT_EQ(Played{3}, numbers(0));
}

TEST_F(AacScript, Mp4DescribesItselfAndIsReadSampleBySample)
{
    struct {
        VMP4_Info info;
        std::uint32_t duration;
        const char* lines;
    } const cases[] = {
        {{6442450944, 1000000, 64000, 22050, 1}, 6442000, "timescale=1000000\nBitrate=64000\n"},
        {{0x100000007, 0, 0, 22050, 1}, 7000, "timescale=0\nBitrate=0\n"},
    };
    for (auto const& each : cases) {
        LogCapture log;
        script.info = each.info;
        run(Steps(3, Step{22050}), PlayedToTheEnd, Mp4);
        EXPECT_EQ(VAAC_Mp4, script.fileType);
        EXPECT_EQ(22050u, script.config.samplingRate);
        EXPECT_EQ(1u, script.config.channels);
        EXPECT_EQ(&VAAC_getRandState, script.config.randState);
        EXPECT_EQ(each.duration, callback.info().decoderWord);
        EXPECT_EQ(each.info.bitRate, callback.info().bitRate);
        EXPECT_EQ(each.lines, linesWith({"timescale", "Bitrate"}, log));
        EXPECT_EQ((std::vector<unsigned int>{0, 1, 2, 3}), script.samplesAsked);
    }
    EXPECT_EQ(2, script.closes);
}

TEST_F(AacScript, SeeksInMp4CountSamplesOfTheDeliveredRate)
{
    struct {
        TimeSpec to;
        unsigned int sample;
    } const cases[] = {{{9, 1999999999}, 430}, {{0, 999999999}, 0}, {{0xFFFFFFFF, 0}, 0x7FFFFFFF}};
    for (auto const& each : cases) {
        begin(Steps(3, Step{22050}), Mp4); // is delivered with 44100 Hz
        ASSERT_TRUE(callback.waitFor(2));
        EXPECT_EQ(ErrorFailed, decoder.Seek(10L));
        EXPECT_EQ(ErrorFailed, decoder.Seek(10.0));
        EXPECT_EQ(Ok, decoder.Seek(each.to));
        EXPECT_EQ(each.to.seconds, callback.position().seconds);
        play();
        EXPECT_EQ((std::vector<int>{2, 10, 4, 6, 1}), callback.events());
        EXPECT_EQ((std::vector<unsigned int>{0, each.sample, each.sample + 1, each.sample + 2}),
                  script.samplesAsked);
    }
    for (Bytes const& data : {Adts, Adif}) {
        begin(Steps(3, Good), data);
        ASSERT_TRUE(callback.waitFor(2));
        EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
        EXPECT_EQ(0, callback.count(10));
    }
}

TEST_F(AacScript, AFrameThatASeekOvertakesIsNotHeard)
{
    Steps steps(5, Good);
    steps[3].before = [this] { EXPECT_EQ(Ok, decoder.Seek(TimeSpec{1, 0})); };
    begin(steps, Mp4);
    play();
    EXPECT_EQ((std::vector<int>{2, 4, 10, 6, 1}), callback.events());
    EXPECT_EQ((Played{3, 5}), numbers(0));
    EXPECT_EQ((std::vector<unsigned int>{0, 1, 2, 3, 43, 44}), script.samplesAsked);
}

TEST_F(AacScript, TheDemultiplexersReadAndPositionTheStream)
{
    Bytes got(10);
    script.onOpen = [&](VMP4_Config const& config) {
        void* const self = config.context;
        EXPECT_EQ(10u, config.read(got.data(), 5, 2, self)) << "the head is read again";
        EXPECT_TRUE(got == Adts);
        EXPECT_EQ(0u, config.read(got.data(), 1, 1, self));
        EXPECT_EQ(0u, config.read(got.data(), 4, 0, self));
        EXPECT_EQ(0, config.seek(nullptr, 5, SEEK_SET));
        EXPECT_EQ(0, config.seek(self, 3, SEEK_SET));
        EXPECT_EQ(0, config.seek(self, 0, SEEK_END));
        EXPECT_EQ(0u, config.read(got.data(), 8, 1, self)) << "there are but 7";
        EXPECT_EQ(0, config.seek(self, 3, SEEK_SET));
        EXPECT_EQ(1u, config.read(got.data(), 1, 1, self));
        EXPECT_EQ(Adts[3], got[0]);
    };
    LogCapture log;
    run(Steps(3, Good), PlayedToTheEnd);
    EXPECT_EQ("[StreamSeek] seek end!!\n", linesWith({"StreamSeek"}, log));
}
