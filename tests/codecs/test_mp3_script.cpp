// What only a codec that misbehaves brings about.
#include "Mp3Stream.h"
#include "ScriptedMp3.h"
#include "ScriptedRun.h"
#include "VMP3Decoder.h"

using namespace avr::test;
using namespace kiv::appli;
using Step = ScriptedMp3::Step;
using Steps = std::vector<Step>;
using Played = std::vector<std::int32_t>;

namespace {

constexpr unsigned int Limit = 262144;

Step const Good{}, Silent{0, 0, 0}, NotFetched{-3, 0, 0};
Step const NotDecoded{0, 4, 576, 0}; // what it gives does not count

Steps operator+(Steps all, Steps const& more)
{
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

class Mp3Script : public ScriptedRun {
protected:
    Mp3Script() { script = ScriptedMp3(); }

    IDecoder& underTest() override { return decoder; }

    void run(Steps steps, std::vector<int> const& events, Bytes data = noise(10))
    {
        begin(std::move(steps), std::move(data));
        expectEvents(events);
        EXPECT_TRUE(script.fetchWasWanted);
    }
    void begin(Steps steps, Bytes data)
    {
        decoder.Close();
        VMP3_StreamInfo const info = script.info;
        script = ScriptedMp3();
        script.info = info;
        script.steps = std::move(steps);
        open(std::move(data));
    }

    ScriptedMp3& script = ScriptedMp3::instance();
    VMP3Decoder decoder;
};

} // namespace

TEST_F(Mp3Script, FiveAttemptsAreMadeToLearnTheFormat)
{
    std::string const found = "[openHook] VMP3_sfile:: Found 4 error while decoding\n";
    {
        LogCapture log;
        run({Step{1, 4, 0}, Step{-7, 4, 0}, NotDecoded, NotDecoded, Good}, PlayedToTheEnd);
        EXPECT_EQ(Played{5}, played());
        EXPECT_EQ("[openHook] VMP3_sfile:: do fetch 1\n" + found +
                      "[openHook] VMP3_sfile:: Got -7 while fetching\n" + times(3, found),
                  linesWith({"openHook] VMP3_"}, log));
    }
    {
        LogCapture log;
        run(Steps(4, NotDecoded) + Steps{Step{0, 4, 0}, Good}, Refused);
        EXPECT_EQ(5, script.decodes);
        EXPECT_EQ(times(5, found) + "[openHook] VMP3_sfile:: couldn't decode, 4\n",
                  linesWith({"VMP3_"}, log));
    }
    LogCapture log;
    run({Silent, Good}, Refused);
    EXPECT_EQ("[openHook] VMP3_sfile:: couldn't decode, 0\n", linesWith({"VMP3_"}, log));
}

TEST_F(Mp3Script, TheSixthFailureInARowEndsTheRun)
{
    struct {
        Step failure;
        std::string line;
    } const cases[] = {
        {NotFetched, "VMP3_sfile:: Got -3 while fetching\n"},
        {NotDecoded, "VMP3_sfile:: Found 4 error while decoding and try to fetch\n"},
    };
    for (auto const& each : cases) {
        LogCapture log;
        Steps const three(3, each.failure), five(5, each.failure);
        run(Steps{Good} + five + Steps{Good} + three + Steps{Silent} + three + Steps{Good}, Failed);
        EXPECT_EQ((Played{1, 7}), played());
        EXPECT_EQ(times(11, each.line), linesWith({"VMP3_"}, log));
        EXPECT_EQ(14, script.fetches);
    }
    LogCapture log;
    run(Steps{Good} + Steps(5, Step{-3, 4, 0}) + Steps(7, Step{1, 0, 576}), PlayedToTheEnd);
    EXPECT_EQ(8u, callback.blocks().size());
    EXPECT_EQ("", linesWith({"do fetch"}, log));
}

TEST_F(Mp3Script, ASearchForAFrameReadsSoMuchAndNoMore)
{
    std::string const limit = "[VMP3Decoder::Read] read limit 262145 !!\n";
    std::string const over = "VMP3_sfile:: over limit\n";
    struct {
        Steps steps;
        std::vector<int> events;
        std::string lines;
    } const cases[] = {
        {{{0, 4, 0, 1, 9}, {0, 0, 576, 1, Limit - 9}}, PlayedToTheEnd, ""},
        {{{0, 4, 0, 1, 9}, {0, 0, 576, 1, Limit - 8}}, Refused, limit + over},
        {{{-1, 0, 0, 1, Limit + 1}},
         Refused,
         limit +
             "[openHook] VMP3_sfile:: Got -1 while fetching\n"
             "[openHook] VMP3_sfile:: couldn't decode, 0\n" +
             over},
        {{Good, {0, 0, 576, 1, Limit}, {1, 0, 576, 1, Limit + 1}, Good}, PlayedToTheEnd, limit},
        {{Good, {-1, 0, 0, 1, Limit + 1}}, Failed, limit + over},
    };
    for (auto const& each : cases) {
        LogCapture log;
        run(each.steps, each.events, noise(3 * Limit - 100000));
        EXPECT_EQ(each.lines, linesWith({"Got", "couldn", "limit"}, log));
    }
}

TEST_F(Mp3Script, TheCodecGetsTheStreamFromItsFirstByte)
{
    Bytes const data = noise(5000);
    Steps const steps = {Step{0, 0, 576, 0, 9}, Step{0, 0, 576, 0}, Good, Step{0, 0, 576, 1, 3000}};
    run(steps, PlayedToTheEnd, data);
    EXPECT_EQ((Played{1, 2, 3, 4}), played());
    EXPECT_EQ(3, script.fetches) << "one only when it is needed";
    EXPECT_EQ(5, script.decodes);
    EXPECT_TRUE(script.input == data);
    run(steps, PlayedToTheEnd, joined({id3v2(3000), data}));
    EXPECT_TRUE(script.input == data);
}

TEST_F(Mp3Script, ARefusedBlockEndsTheRunFromTheSecondOn)
{
    LogCapture log;
    callback.onSample = [] { return -1; };
    run({Good, Good, Good}, PlayedToTheEnd);
    EXPECT_EQ((Played{1, 2}), played());
    EXPECT_TRUE(log.has("On Sample Error!!\n\n\nSuccess in Decoding..........\n"));
    EXPECT_EQ(0, FakeSoundDevice::instance().marksPut);
}

TEST_F(Mp3Script, TheBitRateGivesDurationAndPositions)
{
    Bytes const file = joined({id3v2(9990), noise(990000)});
    struct {
        std::uint32_t bitRate, duration;
        std::size_t offset;
    } const cases[] = {{128000, 61000, 24000}, {8, 0, 1}, {0, 0, 0}};
    for (auto const& each : cases) {
        script.info = {8000, 1, each.bitRate};
        begin({Good, Step{0, 0, 576, 1, 50000}}, file);
        EXPECT_EQ(Ok, decoder.Seek(1500L)); // waits for the open
        play();
        EXPECT_TRUE(script.input == tail(file, each.offset));
        EXPECT_EQ(1u, callback.position().seconds);
        EXPECT_EQ(500000000u, callback.position().nanoseconds);
        EXPECT_EQ(each.duration, callback.info().decoderWord);
        EXPECT_EQ(each.bitRate, callback.info().bitRate);
        EXPECT_EQ(4, callback.info().format.blockAlign);
        EXPECT_EQ(32000u, callback.info().format.averageBytesPerSecond);
    }
}

TEST_F(Mp3Script, AFrameThatASeekCutsInTwoIsNotDecoded)
{
    Step const first = Step{0, 0, 576, 1, 50}, last = first;
    Step cut = first;
    cut.before = [this] { EXPECT_EQ(Ok, decoder.Seek(0L)); };
    begin({first, cut, first, last}, noise(200)); // the third is told to look for a frame anew
    play();
    EXPECT_EQ((std::vector<int>{2, 4, 10, 6, 1}), callback.events());
    EXPECT_EQ((Played{1, 4}), played());
}
