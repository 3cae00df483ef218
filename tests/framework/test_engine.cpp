#include "Deadlines.h"
#include "FakeSoundDevice.h"
#include "LogCapture.h"
#include "RecordingCallback.h"
#include "Samples.h"
#include "TestDecoder.h"

#include <gtest/gtest.h>

#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Avr::Decoder::Deadlines;
using Avr::Decoder::deadlines;
using Events = std::vector<int>;
using std::chrono::milliseconds;

namespace {

class Engine : public testing::Test {
protected:
    ~Engine() override { deadlines() = Deadlines(); }

    void open(Script script = {}) { openOn(scripted(std::move(script))); }
    void openOn(boost::shared_ptr<ScriptedStream> on)
    {
        stream = on;
        ASSERT_EQ(Ok, decoder.Open(on, &callback));
    }
    void play()
    {
        open();
        ASSERT_TRUE(callback.waitFor(2));
        ASSERT_EQ(Ok, decoder.Start());
        ASSERT_TRUE(callback.waitFor(4));
    }
    int state()
    {
        smart_enum<DecoderStateBase> now;
        decoder.GetCurrentState(now);
        return now;
    }
    void finish()
    {
        EXPECT_TRUE(callback.waitFor(1));
        decoder.Close();
        EXPECT_EQ(1, callback.count(1));
        EXPECT_EQ(1, callback.events().back());
        EXPECT_EQ(DecoderStateBase::Closed, state());
    }

    RecordingCallback callback;
    boost::shared_ptr<ScriptedStream> stream;
    TestDecoder decoder;
};

} // namespace

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
    EXPECT_EQ(DecoderStateBase::PreDecoding, state());
    mayOpen = true;
    ASSERT_TRUE(callback.waitFor(2));
    EXPECT_EQ(Ok, decoder.Start());
    EXPECT_EQ(ErrorInvalidState, decoder.Start());
    ASSERT_TRUE(callback.waitFor(4));
    decoder.Close();
    EXPECT_EQ(ErrorInvalidState, decoder.Start());
    finish();
}

TEST_F(Engine, StartMayComeFromInsideTheStreamInfoEvent)
{
    callback.onEvent = [&](int event) {
        if (event == 2) {
            EXPECT_EQ(Ok, decoder.Start());
        }
    };
    decoder.onPlay = [] { return ResultEndOfStream; };
    open();
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
    finish();
}

TEST_F(Engine, AnyOtherResultOfThePlayLoopIsAFailure)
{
    for (int result : {0, -10002, -7}) {
        callback.clear();
        decoder.onPlay = [&] { return result; };
        open();
        ASSERT_TRUE(callback.waitFor(2));
        decoder.Start();
        ASSERT_TRUE(callback.waitFor(1));
        EXPECT_EQ((Events{2, 4, 0, 1}), callback.events()) << result;
    }
}

TEST_F(Engine, FailedOpensAreToldApart)
{
    Script closedDoor;
    closedDoor.openFails = true;
    open(closedDoor);
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{0, 1}), callback.events());

    decoder.onOpen = [] { return ErrorFailed; };
    callback.clear();
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
    callback.clear();
    open(broken);
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{12, 1}), callback.events());

    decoder.onOpen = []() -> int { throw std::runtime_error("hook"); };
    callback.clear();
    open();
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{0, 1}), callback.events());
}

TEST_F(Engine, NullStreamClosesARunAndSendsNothingToTheNewCallback)
{
    play();
    RecordingCallback other;
    EXPECT_EQ(ErrorFailed, decoder.Open(nullptr, &other));
    EXPECT_EQ(1, callback.count(1));
    EXPECT_TRUE(other.events().empty());
    EXPECT_EQ(DecoderStateBase::Closed, state());
    callback.clear();
    play();
    decoder.Close();
    finish();
}

TEST_F(Engine, OpenWhilePlayingClosesTheRunFirst)
{
    play();
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
    play();
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
    finish();
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
    finish();
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
    finish();
    EXPECT_EQ(ErrorFailed, decoder.Pause());
    EXPECT_EQ(DecoderStateBase::Closed, state());
}

TEST_F(Engine, CloseInsideACallbackLeavesOnlyTheCloseEvent)
{
    for (int where : {2, 4, 5, 6, 1}) {
        callback.clear();
        callback.onEvent = [&, where](int event) {
            if (event == where) {
                EXPECT_EQ(Ok, decoder.Close());
                EXPECT_EQ(ErrorFailed, decoder.Open(streamOf({}), &callback));
            }
        };
        decoder.onPlay = [&, where] {
            if (where == 6)
                return int(ResultEndOfStream);
            if (where == 5)
                decoder.Pause();
            if (where == 1)
                return 0;
            return decoder.playUntilStopped();
        };
        open();
        ASSERT_TRUE(callback.waitFor(2));
        decoder.Start();
        ASSERT_TRUE(callback.waitFor(1)) << where;
        Events const events = callback.events();
        EXPECT_EQ(1, events.back());
        if (where != 1) {
            ASSERT_GE(events.size(), 2u);
            EXPECT_EQ(where, events[events.size() - 2]);
        }
        callback.onEvent = nullptr;
        finish();
    }
}

TEST_F(Engine, CloseInsideOnSampleOrASeeksEventEndsTheRun)
{
    callback.onSample = [&] { return decoder.Close(); };
    open();
    ASSERT_TRUE(callback.waitFor(2));
    decoder.Start();
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{2, 4, 1}), callback.events());
    EXPECT_EQ(1u, callback.blocks().size());

    // On the seeking thread, while the decoding thread is stuck in OnSample.
    callback.clear();
    std::atomic<bool> inside{false};
    callback.onSample = [&] {
        inside = true;
        boost::this_thread::sleep_for(boost::chrono::hours(1));
        return 0;
    };
    callback.onEvent = [&](int event) {
        if (event == 10)
            decoder.Close();
    };
    open();
    ASSERT_TRUE(callback.waitFor(2));
    decoder.Start();
    while (!inside)
        std::this_thread::yield();
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{1, 0}));
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{2, 4, 10, 1}), callback.events());
}

TEST_F(Engine, CloseEndsAStalledOpenAndAStalledRead)
{
    LogCapture log;
    Script slowDoor;
    slowDoor.openStalls = true;
    open(slowDoor);
    std::this_thread::sleep_for(milliseconds(5));
    decoder.Close();
    EXPECT_EQ((Events{1}), callback.events());

    Script stalled;
    stalled.fault = Script::Fault::Stall;
    decoder.onOpen = [this] {
        char byte;
        unsigned int got = 0;
        return stream->Read(&byte, 1, &got);
    };
    callback.clear();
    open(stalled);
    while (stream->reads() == 0)
        std::this_thread::yield();
    decoder.Close();
    EXPECT_EQ((Events{1}), callback.events());
    EXPECT_FALSE(log.has("join timeouted"));
}

TEST_F(Engine, CloseSaysSoWhenTheThreadDoesNotEnd)
{
    deadlines().joinReport = milliseconds(20);
    deadlines().closeAgain = milliseconds(5);
    std::atomic<bool> stubborn{true};
    decoder.onPlay = [&] {
        while (stubborn)
            std::this_thread::yield();
        return 0;
    };
    play();
    LogCapture log;
    std::thread closing([&] { decoder.Close(); });
    while (!log.has("[DecoderImple::Close()] try to join again"))
        std::this_thread::sleep_for(milliseconds(5));
    stubborn = false;
    closing.join();
    EXPECT_TRUE(log.has("[DecoderImple::Close()] join timeouted.\n"
                        "[DecoderImple::Close()] close stream again\n"));
    EXPECT_TRUE(log.has("[DecoderImple::Close()] playing thread has ended"));
    finish();
}

TEST_F(Engine, ClosesOfManyThreadsAllReturn)
{
    for (int round = 0; round < 20; ++round) {
        callback.clear();
        play();
        std::vector<std::thread> closers;
        for (int i = 0; i < 4; ++i)
            closers.emplace_back([&] { decoder.Close(); });
        for (auto& closer : closers)
            closer.join();
        finish();
    }
}

TEST_F(Engine, ExceptionsOfThePlayerStayThere)
{
    callback.onEvent = [](int) { throw 1; };
    callback.onSample = []() -> int { throw 2; };
    open();
    ASSERT_TRUE(callback.waitFor(2));
    ASSERT_EQ(Ok, decoder.Start());
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{2, 4, 0, 1}), callback.events());
    finish();
}

TEST_F(Engine, AThreadThatCannotBeMadeFailsTheOpen)
{
    deadlines().threadStackBytes = std::size_t(1) << (sizeof(void*) * 8 - 2);
    EXPECT_EQ(ErrorFailed, decoder.Open(streamOf({}), &callback));
    EXPECT_EQ(DecoderStateBase::Closed, state());
    EXPECT_TRUE(callback.events().empty());
    deadlines() = Deadlines();
    play();
    decoder.Close();
    finish();
}

TEST_F(Engine, AnEndOfDataMarksNothingBeforeEventFour)
{
    auto& device = FakeSoundDevice::instance();
    device.beginRun();
    EXPECT_EQ(Ok, decoder.Interrunpt(ResultEndOfStream));
    decoder.onOpen = [this] {
        decoder.Interrunpt(ResultEndOfStream);
        EXPECT_TRUE(decoder.IsDecoding());
        return 0;
    };
    play();
    EXPECT_EQ(0, device.marksPut);
    EXPECT_EQ(Ok, decoder.Interrunpt(ResultEndOfStream)); // puts the mark
    EXPECT_EQ(1, device.marksPut);
    EXPECT_TRUE(decoder.IsDecoding());
    EXPECT_EQ(Ok, decoder.Interrunpt(ResultEndOfStream)); // completed: ends the run
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ(1, callback.count(1));
    device.beginRun();
    decoder.Interrunpt(ResultEndOfStream);
    EXPECT_EQ(0, device.marksPut);
}

TEST_F(Engine, ASeekDuringTheDrainTakesTheEndBack)
{
    auto& device = FakeSoundDevice::instance();
    device.beginRun();
    device.completes = false;
    std::atomic<int> decodes{0};
    decoder.onPlay = [&] {
        for (;;) {
            switch (decoder.nextPass()) {
            case TestDecoder::Pass::Decode:
                if (++decodes == 2)
                    device.completes = true;
                decoder.PutEofMarkToSoundDevice();
                break;
            case TestDecoder::Pass::PlayedOut:
                return int(ResultEndOfStream);
            case TestDecoder::Pass::Stopped:
                return decoder.interruptedResult();
            }
        }
    };
    play();
    while (device.marksPut == 0)
        std::this_thread::yield();
    // The device completes while the seek is under way: that must not end the track.
    decoder.onSeek = [&] {
        device.completes = true;
        std::this_thread::sleep_for(milliseconds(60));
        EXPECT_EQ(DecoderStateBase::Decoding, state());
        device.completes = false;
        device.putEofMark(false);
    };
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 0}));
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ(2, decodes);
    EXPECT_EQ((Events{2, 4, 10, 6, 1}), callback.events());
}

TEST_F(Engine, SeeksBelongToARunAndOutliveNone)
{
    EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
    callback.onEvent = [&](int event) {
        if (event == 0 || event == 1) {
            EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
        }
    };
    std::atomic<bool> seeking{false};
    std::atomic<bool> over{false};
    decoder.onSeek = [&] {
        seeking = true;
        std::this_thread::sleep_for(milliseconds(30));
        EXPECT_FALSE(over);
    };
    decoder.onClose = [&] { over = true; };
    decoder.onPlay = [&] {
        while (!seeking)
            std::this_thread::yield();
        return 0;
    };
    play();
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{3, 5}));
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ(1, callback.count(10));
    EXPECT_EQ(1, callback.events().back());
    EXPECT_EQ(3u, callback.position().seconds);
    EXPECT_EQ(5u, callback.position().nanoseconds);
}

TEST_F(Engine, NoBlockIsDeliveredBetweenASeekAndItsEvent)
{
    std::atomic<bool> repositioned{false};
    std::atomic<int> tooEarly{0};
    decoder.onSeek = [&] { repositioned = true; };
    callback.onEvent = [&](int event) {
        if (event == 10) {
            std::this_thread::sleep_for(milliseconds(1));
            repositioned = false;
        }
    };
    std::atomic<bool> inside{false};
    callback.onSample = [&] {
        // A block that was on its way may still be inside when the seek begins.
        inside = true;
        bool const before = repositioned;
        std::this_thread::yield();
        if (before)
            ++tooEarly;
        inside = false;
        return 0;
    };
    play();
    for (int i = 0; i < 100; ++i)
        decoder.Seek(TimeSpec{0, 0});
    decoder.Close();
    EXPECT_LE(tooEarly, 1);
}
