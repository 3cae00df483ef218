// Runs: opening, starting, pausing, and the events of each.
#include "EngineFixture.h"

using namespace avr::test;

TEST_F(Engine, StartIsRefusedUntilTheFormatIsKnownAndOnceOnly)
{
    std::atomic<bool> mayOpen{false};
    decoder.onOpen = [&] {
        while (!mayOpen)
            std::this_thread::yield();
        return 0;
    };
    open();
    EXPECT_EQ(DecoderStateBase::PreDecoding, state());
    EXPECT_EQ(ErrorInvalidState, decoder.Start());
    EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{1, 0}));
    EXPECT_EQ(DecoderStateBase::PreDecoding, state());
    mayOpen = true;
    ASSERT_TRUE(callback.waitFor(2));
    EXPECT_EQ(Ok, decoder.Start());
    EXPECT_EQ(ErrorInvalidState, decoder.Start());
    ASSERT_TRUE(callback.waitFor(4));
    decoder.Close();
    EXPECT_EQ(ErrorInvalidState, decoder.Start());
    expectOneRun();
}

TEST_F(Engine, AnyOtherResultOfThePlayLoopIsAFailure)
{
    for (int result : {0, -10002, -7}) {
        decoder.onPlay = [&] { return result; };
        runToTheEnd();
        EXPECT_EQ((Events{2, 4, 0, 1}), callback.events()) << result;
    }
}

TEST_F(Engine, FailedOpensAreToldApart)
{
    Script closedDoor;
    closedDoor.openFails = true;
    callback.onEvent = [this](int event) {
        EXPECT_EQ(event == 0 ? DecoderStateBase::Error : DecoderStateBase::Closed, state());
    };
    open(closedDoor);
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{0, 1}), callback.events());
    decoder.Close();
    callback.onEvent = nullptr;

    decoder.onOpen = [] { return ErrorFailed; };
    open();
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{11, 1}), callback.events());

    // The decoder's own Close on its thread neither waits for itself nor hides the reason.
    decoder.onOpen = [this] {
        unsigned int got = 0;
        stream->Read(&got, 1, &got);
        decoder.Close();
        return ErrorFailed;
    };
    Script broken;
    broken.fault = Script::Fault::Error;
    open(broken);
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{12, 1}), callback.events());

    decoder.onOpen = []() -> int { throw std::runtime_error("hook"); };
    open();
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{0, 1}), callback.events());
}

TEST_F(Engine, NullStreamClosesARunAndSendsNothingToTheNewCallback)
{
    begin();
    RecordingCallback other;
    EXPECT_EQ(ErrorFailed, decoder.Open(nullptr, &other));
    EXPECT_EQ(1, callback.count(1));
    EXPECT_TRUE(other.events().empty());
    EXPECT_EQ(DecoderStateBase::Closed, state());
    callback.clear();
    begin();
    decoder.Close();
    expectOneRun();
}

TEST_F(Engine, OpenWhilePlayingClosesTheRunFirst)
{
    begin();
    RecordingCallback next;
    LogCapture log;
    EXPECT_EQ(Ok, decoder.Open(streamOf({}), &next));
    EXPECT_EQ((Events{2, 4, 1}), callback.events());
    EXPECT_TRUE(log.has("[DecoderImple::Open()] Open command must be called in 'Closed' state."));
    ASSERT_TRUE(next.waitFor(2));
    decoder.Close();
    EXPECT_EQ((Events{2, 1}), next.events());
}

TEST_F(Engine, PauseIsReportedAgainAndAgainAndEndsByResume)
{
    deadlines().pauseReport = milliseconds(10);
    begin();
    EXPECT_EQ(Ok, decoder.Pause());
    EXPECT_EQ(Ok, decoder.Pause());
    while (callback.count(5) < 3)
        std::this_thread::yield();
    EXPECT_EQ(DecoderStateBase::Paused, state());
    EXPECT_EQ(Ok, decoder.Resume());
    while (callback.count(4) < 2)
        std::this_thread::yield();
    decoder.Pause();
    decoder.Close();
    EXPECT_EQ(1, callback.events().back());
    EXPECT_EQ(0, callback.count(0));
    expectOneRun();
}

TEST_F(Engine, PauseBeforePlayingBeginsIsKept)
{
    callback.onEvent = [&](int event) {
        if (event == 2) {
            EXPECT_EQ(ErrorFailed, decoder.Pause());
            EXPECT_EQ(Ok, decoder.Start());
            EXPECT_EQ(Ok, decoder.Pause());
        }
    };
    callback.onSample = [] { return 0; };
    open();
    ASSERT_TRUE(callback.waitFor(5));
    EXPECT_EQ((Events{2, 4, 5}), callback.events());
    EXPECT_LE(callback.blocks().size(), 1u);
    decoder.Resume();
    ASSERT_TRUE(callback.waitForSample());
    decoder.Close();
    expectOneRun();
}

TEST_F(Engine, APauseTakenBackBeforePlayingIsNone)
{
    for (bool byClose : {false, true}) {
        std::atomic<bool> first{true};
        callback.onEvent = [&](int event) {
            if (event != 2 || !first.exchange(false))
                return;
            decoder.Start();
            decoder.Pause();
            byClose ? decoder.Close() : decoder.Resume();
        };
        open();
        if (byClose) {
            ASSERT_TRUE(callback.waitFor(1));
            open();
            ASSERT_TRUE(callback.waitFor(2));
            decoder.Start();
        }
        ASSERT_TRUE(callback.waitForSample());
        decoder.Close();
        EXPECT_EQ(0, callback.count(5));
    }
}

TEST_F(Engine, PauseOutsidePlayingIsRefusedAndChangesNothing)
{
    EXPECT_EQ(ErrorFailed, decoder.Pause());
    EXPECT_EQ(Ok, decoder.Resume());
    callback.onEvent = [&](int event) {
        if (event == 6 || event == 1) {
            EXPECT_EQ(ErrorFailed, decoder.Pause()) << event;
        }
    };
    decoder.onPlay = [] { return ResultEndOfStream; };
    open();
    ASSERT_TRUE(callback.waitFor(2));
    decoder.Start();
    expectOneRun();
    EXPECT_EQ(ErrorFailed, decoder.Pause());
    EXPECT_EQ(DecoderStateBase::Closed, state());
}
