#include "AsfFile.h"
#include "BuildKind.h"
#include "DecoderHistory.h"
#include "DecoderRun.h"
#include "LogCapture.h"
#include "LongDeadlines.h"
#include "TestData.h"
#include "WmaPlay.h"
#include "WmaSelector.h"

#include <atomic>
#include <random>
#include <thread>
#include <unistd.h>

using namespace avr::test;
using namespace kiv::appli;
using Avr::Decoder::Deadlines;
using Avr::Decoder::deadlines;
using Events = std::vector<int>;
using Fault = Script::Fault;

namespace {

constexpr const char* Standard = DecoderHistory::Standard;
constexpr const char* Lossless = DecoderHistory::Lossless;

class Selector : public DecoderRun {
protected:
    Selector() { history.clear(); }
    ~Selector() override
    {
        deadlines() = Deadlines();
        history.clear();
    }

    IDecoder& underTest() override { return decoder; }

    static Script scriptOf(Bytes data)
    {
        Script script;
        script.data = std::move(data);
        return script;
    }
    /// Opens on another thread, calls `then` once the stream was read so often, and waits.
    int openWhile(Script script, int reads, std::function<void()> const& then)
    {
        stream = scripted(std::move(script));
        callback.clear();
        int result = 1;
        std::thread opener([&] { result = decoder.Open(stream, &callback); });
        while (stream->reads() < reads)
            std::this_thread::yield();
        then();
        opener.join();
        return result;
    }
    static long residentPages()
    {
        long size = 0, resident = 0;
        std::FILE* const file = std::fopen("/proc/self/statm", "r");
        EXPECT_EQ(2, std::fscanf(file, "%ld %ld", &size, &resident));
        std::fclose(file);
        return resident;
    }

    Bytes const standard = testData("wma2.wma");
    Bytes const pcm = noise(60000);
    Bytes const lossless = losslessFile(pcm, 2, 16, 44100).bytes();
    DecoderHistory& history = DecoderHistory::instance();
    VWMADecoder decoder;
};

} // namespace

TEST_F(Selector, EitherKindIsFoundAndRemembered)
{
    struct {
        const char* first;
        bool isLossless;
        Events events;
    } const cases[] = {
        {Standard, false, {2, 4, 6, 1}},
        {Lossless, false, {11, 1, 2, 4, 6, 1}},
        {Lossless, true, {2, 4, 6, 1}},
        {Standard, true, {11, 1, 2, 4, 6, 1}},
    };
    for (auto const& each : cases)
        for (int capabilities : {0, int(ScriptedStream::CanSeekByte)}) {
            Script script = scriptOf(each.isLossless ? lossless : standard);
            script.capabilities = capabilities;
            history.clear();
            history.add(each.first);
            open(script);
            ASSERT_TRUE(callback.waitFor(2));
            EXPECT_EQ(Ok, decoder.Start());
            ASSERT_TRUE(callback.waitFor(6));
            ASSERT_TRUE(callback.waitFor(1, callback.count(11) + 1));
            EXPECT_EQ(each.events, callback.events());
            EXPECT_TRUE(callback.pcm() == (each.isLossless ? pcm : WmaPlay(standard).all()));
            EXPECT_EQ(2u, history.size());
            EXPECT_EQ(each.isLossless ? Lossless : Standard, history.firstKind());
            std::string name;
            EXPECT_EQ(Ok, decoder.GetProperty(DecoderPropTypeBase::CodecName, name));
            EXPECT_EQ(each.isLossless ? "wmalsl" : "wma", name);
            EXPECT_EQ(0, FakeSoundDevice::instance().marksPut);
        }
}

TEST_F(Selector, WhatIsNeitherKindFailsTwice)
{
    deadlines().parseWait = std::chrono::hours(1); // a run that has ended will not report
    Script shut = scriptOf(standard);
    shut.openFails = true;
    Script broken = scriptOf(standard);
    broken.fault = Fault::Error;
    broken.faultAtRead = 0;
    for (auto const& it :
         {std::pair(scriptOf(noise(5000)), 11), {scriptOf({}), 11}, {broken, 12}, {shut, 0}}) {
        history.clear();
        open(it.first);
        ASSERT_TRUE(callback.waitFor(1, 2));
        EXPECT_EQ((Events{it.second, 1, it.second, 1}), callback.events());
        EXPECT_EQ(Lossless, history.firstKind());
        EXPECT_EQ(1u, history.size());
        EXPECT_NE(Ok, decoder.Start()) << "it is the last decoder's answer";
    }
}

TEST_F(Selector, WithoutADecoderNothingIsAnswered)
{
    std::string text = "kept";
    tWAVEFORMAT format;
    smart_enum<DecoderStateBase> state;
    EXPECT_EQ(ErrorFailed, decoder.Open(nullptr, &callback));
    for (int result : {decoder.Start(), decoder.Resume(), decoder.Pause(), decoder.Close(),
                       decoder.Seek(1L), decoder.Seek(1.0), decoder.Seek(TimeSpec{1, 0}),
                       decoder.SetProperty(0, text), decoder.GetProperty(0, text),
                       decoder.GetWaveFormat(format), decoder.GetCurrentState(state)})
        EXPECT_EQ(ErrorFailed, result);
    EXPECT_EQ("kept", text);
    EXPECT_EQ(-1, decoder.PlayCom());
    EXPECT_NE(nullptr, decoder.GetHalmerCommon());
    EXPECT_EQ(0u, history.size());
    EXPECT_TRUE(callback.events().empty());
}

TEST_F(Selector, ARunThatNeverReportsIsCutShort)
{
    for (bool isLossless : {false, true}) {
        Script script = scriptOf(isLossless ? lossless : standard);
        script.fault = Fault::Stall;
        script.faultPasses = true;
        script.capabilities = 0;
        history.add(isLossless ? Standard : Lossless);
        deadlines().parseWait = std::chrono::milliseconds(0);
        open(script);
        ASSERT_TRUE(callback.waitFor(2));
        EXPECT_EQ((Events{1, 2}), callback.events()) << "that one was closed";
        EXPECT_EQ(Ok, decoder.Start());
        ASSERT_TRUE(callback.waitFor(1, 2));
        EXPECT_TRUE(callback.pcm() == (isLossless ? pcm : WmaPlay(standard).all()));
    }
}

TEST_F(Selector, AnOpenInsideACallbackIsRefused)
{
    history.add(Lossless);
    int tried = 0;
    callback.onEvent = [&](int event) {
        if (event == EventBufferStatus)
            return;
        ++tried;
        EXPECT_EQ(ErrorFailed, decoder.Open(stream, &callback)) << event;
        if (event == 2)
            decoder.Start();
    };
    open(standard);
    ASSERT_TRUE(callback.waitFor(1, 2));
    EXPECT_EQ((Events{11, 1, 2, 4, 6, 1}), callback.events());
    EXPECT_EQ(6, tried);

    // Nor does a run's end that the next Open waits for hold that up.
    decoder.Close();
    callback.onEvent = nullptr;
    openAndWait(scriptOf(standard));
    stream = streamOf(standard);
    callback.onEvent = [&](int event) {
        if (event == 1) {
            EXPECT_EQ(ErrorFailed, decoder.Open(stream, &callback));
            decoder.Close();
        }
    };
    EXPECT_EQ(Ok, decoder.Open(stream, &callback));
    ASSERT_TRUE(callback.waitFor(2, 2));
    decoder.Close();
    EXPECT_EQ(2, callback.count(1));
}

TEST_F(Selector, CloseWhileAnAttemptReadsTheHead)
{
    for (int at = 0; at < 4; ++at) {
        Script script = scriptOf(standard);
        script.longestRead = 40;
        script.fault = Fault::Stall;
        script.faultAtRead = at;
        int const result = openWhile(script, at + 1, [this] { decoder.Close(); });
        EXPECT_EQ(ErrorFailed, result);
        EXPECT_EQ((Events{1}), callback.events());
        EXPECT_EQ(0u, history.size());
        EXPECT_LT(stream->IsOpened(), 0);
    }
    // While the second one reads it.
    history.add(Lossless);
    Script script = scriptOf(standard);
    script.fault = Fault::Stall;
    script.faultAtRead = 2;
    ASSERT_LT(script.data.size(), 128u * 1024) << "one read takes it, and one its end";
    openWhile(script, 3, [this] { decoder.Close(); });
    decoder.Close();
    EXPECT_EQ((Events{11, 1, 1}), callback.events());
    EXPECT_FALSE(stream->contractBroken());
}

TEST_F(Selector, CloseWhileTheStreamOpens)
{
    Script script = scriptOf(standard);
    script.openStalls = true;
    int const result = openWhile(script, 0, [this] {
        while (stream->IsOpened() < 0)
            std::this_thread::yield();
        decoder.Close();
    });
    EXPECT_EQ(ErrorFailed, result);
    EXPECT_EQ(Events{1}, callback.events());
}

TEST_F(Selector, CloseInsideTheFirstAttemptsEventsLeavesNoSecondOne)
{
    for (int event : {11, 1})
        for (bool elsewhere : {false, true}) {
            if (event == 1 && elsewhere)
                continue; // a Close there would wait for this event
            history.add(Lossless);
            std::thread closer;
            callback.onEvent = [&](int it) {
                if (it != event)
                    return;
                int const closesBefore = stream->closes();
                if (!elsewhere)
                    decoder.Close();
                else
                    closer = std::thread([this] { decoder.Close(); });
                while (elsewhere && stream->closes() == closesBefore)
                    std::this_thread::yield();
            };
            stream = streamOf(standard);
            callback.clear();
            EXPECT_EQ(ErrorFailed, decoder.Open(stream, &callback));
            if (closer.joinable())
                closer.join();
            EXPECT_EQ((Events{11, 1}), callback.events());
            callback.onEvent = nullptr;
        }
}

TEST_F(Selector, ACloseAtAnyMomentEndsAnOpen)
{
    setLongDeadlines();
    LogCapture log;
    std::mt19937 random(3);
    for (int round = 0; round < (Slow ? 100 : 400); ++round) {
        history.add(round % 2 == 0 ? Standard : Lossless);
        Script script = scriptOf(round % 3 == 0 ? lossless : standard);
        script.longestRead = round % 5 == 0 ? 0 : 3000;
        int const result = openWhile(script, 0, [&] {
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 2500));
            decoder.Close();
        });
        EXPECT_TRUE(result == Ok || result == ErrorFailed);
        decoder.Close();
        Events const events = callback.events();
        ASSERT_TRUE(events.empty() || events.back() == 1) << round;
        ASSERT_LE(callback.count(1), 2);
        ASSERT_LT(stream->IsOpened(), 0);
        ASSERT_FALSE(stream->contractBroken());
    }
    EXPECT_FALSE(log.has("join timeouted"));
}

TEST_F(Selector, SeeksGoToTheChosenDecoder)
{
    for (bool isLossless : {false, true}) {
        Bytes const& file = isLossless ? lossless : standard;
        WmaPlay direct(file, isLossless);
        direct.all();
        for (unsigned int ms : {200u, 0u}) {
            direct.seek(ms);
            direct.pcm.clear();
            Bytes const tail = direct.all();
            std::size_t before = 0;
            callback.onSample = [&] {
                if (before == 0) {
                    before = callback.pcm().size();
                    EXPECT_EQ(Ok,
                              ms == 0 ? decoder.Seek(0L) : decoder.Seek(TimeSpec{0, 200000000}));
                }
                return 0;
            };
            history.add(isLossless ? Lossless : Standard);
            open(file);
            play();
            Bytes const all = callback.pcm();
            EXPECT_TRUE(Bytes(all.begin() + long(before), all.end()) == tail) << ms;
            EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
        }
        openAndWait(scriptOf(file));
        EXPECT_EQ(ResultEndOfStream, decoder.Seek(100000L));
        EXPECT_EQ(ErrorFailed, decoder.Seek(0.1));
        EXPECT_EQ(Ok, decoder.Seek(300L)) << "before it starts";
        callback.onSample = nullptr;
        play();
        direct.seek(300);
        direct.pcm.clear();
        EXPECT_TRUE(callback.pcm() == direct.all());
    }
}

TEST_F(Selector, ACloseEndsAnOpenThatStillEndsTheEarlierRun)
{
    openAndWait(scriptOf(standard));
    std::thread closer;
    std::atomic<bool> closing{false};
    callback.onEvent = [&](int event) {
        if (event != 1 || closer.joinable())
            return;
        closer = std::thread([&] { closing = true, decoder.Close(); });
        for (int turns = 0; !closing || turns < 1000; ++turns)
            std::this_thread::yield(); // it waits for this event, most likely
    };
    deadlines().parseWait = std::chrono::hours(1);
    Script silent = scriptOf(standard);
    silent.fault = Fault::Stall;
    silent.faultAtRead = 0;
    stream = scripted(silent);
    EXPECT_EQ(ErrorFailed, decoder.Open(stream, &callback));
    closer.join();
    EXPECT_LT(stream->IsOpened(), 0);
}

TEST_F(Selector, AStreamThatIgnoresItsCloseDoesNotHoldItUp)
{
    deadlines().readWait = std::chrono::hours(1);
    history.add(Standard);
    Script dry = scriptOf(standard);
    dry.ignoresClose = true;
    dry.retriesFrom = 100;
    EXPECT_EQ(ErrorFailed, openWhile(dry, 3, [this] { decoder.Close(); }));
}

TEST_F(Selector, AStreamIsLeftAloneOnceItsRunHasEnded)
{
    history.add(Lossless);
    for (Bytes const& file : {standard, lossless, noise(10)}) {
        open(scriptOf(file));
        decoder.Close();
        EXPECT_EQ(1, stream.use_count()) << "or it would be read by more than one, the next time";
    }
}

TEST_F(Selector, TenThousandOpensKeepNothing)
{
    LogCapture log;
    int const opens = Slow ? 60 : 10000;
    long pages = 0;
    for (int i = 0; i < opens; ++i) {
        if (i == opens / 10)
            pages = residentPages();
        history.add(i % 4 < 2 ? Standard : Lossless);
        stream = streamOf(i % 3 == 0 ? noise(100) : i % 3 == 1 ? lossless : standard);
        callback.clear();
        ASSERT_EQ(Ok, decoder.Open(stream, &callback));
    }
    decoder.Close();
    EXPECT_LE(history.size(), 101u);
    EXPECT_TRUE(Slow || (residentPages() - pages) * sysconf(_SC_PAGESIZE) < (8 << 20))
        << residentPages() - pages;
}
