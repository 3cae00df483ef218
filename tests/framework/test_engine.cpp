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

TEST_F(Engine, APauseTakenBackBeforePlayingIsNone)
{
    for (bool byClose : {false, true}) {
        callback.clear();
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
            callback.clear();
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

TEST_F(Engine, CloseClosesTheStreamAgainUntilTheThreadIsGone)
{
    deadlines().closeAgain = milliseconds(5);
    decoder.onPlay = [&] {
        while (stream->closes() < 3)
            std::this_thread::yield();
        return 0;
    };
    decoder.onClose = [&] {
        while (stream->closes() < 8)
            std::this_thread::yield();
    };
    play();
    decoder.Close();
    finish();
}

TEST_F(Engine, AnInterruptionLeavesNothingHalfDone)
{
    // A forced close on a thread that is interrupted meanwhile.
    std::atomic<bool> stubborn{true};
    decoder.onPlay = [&] {
        while (stubborn)
            std::this_thread::yield();
        return 0;
    };
    play();
    RecordingCallback next;
    int opened = -1;
    boost::thread opening([&] { opened = decoder.Open(streamOf({}), &next); });
    opening.interrupt();
    std::this_thread::sleep_for(milliseconds(80));
    stubborn = false;
    opening.join();
    EXPECT_EQ(Ok, opened);
    ASSERT_TRUE(next.waitFor(2));
    EXPECT_EQ(1, callback.count(1));
    decoder.Close();

    // Neither a pending interruption nor one that a callback throws keeps event 1 back.
    for (int where : {0, 6}) {
        callback.clear();
        callback.onEvent = [&, where](int event) {
            if (event != where)
                return;
            decoder.Interrunpt();
            boost::this_thread::sleep_for(boost::chrono::milliseconds(1));
            throw boost::thread_interrupted();
        };
        decoder.onPlay = [&, where] {
            decoder.Interrunpt();
            return where == 6 ? int(ResultEndOfStream) : 0;
        };
        open();
        ASSERT_TRUE(callback.waitFor(2));
        decoder.Start();
        ASSERT_TRUE(callback.waitFor(1));
        decoder.Close();
        EXPECT_EQ((Events{2, 4, where, 1}), callback.events());
    }
}

TEST_F(Engine, NoLockIsHeldWhileCallingOut)
{
    // Another thread uses every operation while the decoding thread is inside one of the player's
    // or the decoder's functions.
    std::atomic<int> probes{0};
    auto const probe = [&] {
        ++probes;
        std::thread([&] {
            tWAVEFORMAT format;
            std::string text;
            decoder.Pause();
            decoder.Resume();
            decoder.GetWaveFormat(format);
            decoder.GetProperty(0, text);
            decoder.SetProperty(0, text);
            state();
            decoder.Interrunpt(ResultEndOfStream);
        }).join();
    };
    FakeSoundDevice::instance().beginRun();
    FakeSoundDevice::instance().completes = false;
    decoder.onOpen = [&] { return probe(), 0; };
    decoder.onClose = probe;
    callback.onEvent = [&](int) { probe(); };
    callback.onSample = [&] { return probe(), -1; };
    open();
    ASSERT_TRUE(callback.waitFor(2));
    decoder.Start();
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ(7, probes); // open, 2, 4, the block, 0, close, 1
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
    deadlines().threadStackBytes = ~std::size_t(0) >> 1;
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

TEST_F(Engine, AnEndThatWasDecidedStaysOne)
{
    auto& device = FakeSoundDevice::instance();
    device.beginRun();
    // The interruption that ends the loop comes as an exception.
    decoder.onPlay = [&] {
        decoder.PutEofMarkToSoundDevice();
        decoder.Interrunpt(ResultEndOfStream);
        EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
        boost::this_thread::sleep_for(boost::chrono::hours(1));
        return 0;
    };
    play();
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());

    // A whole seek while the device is being asked: its answer is out of date.
    callback.clear();
    device.beginRun();
    std::atomic<int> asked{0};
    device.onAsked = [&] {
        if (++asked != 1)
            return;
        EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 0}));
        device.putEofMark(false);
    };
    decoder.onPlay = [&] {
        decoder.PutEofMarkToSoundDevice();
        EXPECT_EQ(1, decoder.eofCommonProcess());
        EXPECT_EQ(TestDecoder::Pass::Decode, decoder.nextPass());
        return -7;
    };
    play();
    ASSERT_TRUE(callback.waitFor(1));
    decoder.Close();
    device.onAsked = nullptr;
    EXPECT_EQ((Events{2, 4, 10, 0, 1}), callback.events());
}

TEST_F(Engine, SeeksBelongToARunAndOutliveNone)
{
    EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
    callback.onEvent = [&](int event) {
        if (event == 0 || event == 1) {
            EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
        }
        if (event == 10) {
            EXPECT_EQ(ErrorFailed, decoder.Open(streamOf({}), &callback));
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

TEST_F(Engine, ABlockThatASeekOvertookIsDropped)
{
    using DecoderLock = boost::lock_guard<boost::recursive_mutex>;
    std::atomic<bool> blockRead{false};
    std::atomic<bool> moved{false};
    decoder.onPlay = [&] {
        char block[8] = {};
        TimeSpec duration{0, 0};
        for (int pass = 0; pass < 2; ++pass) {
            {
                DecoderLock lock(decoder.decoderLock());
                decoder.newPosition();
            }
            blockRead = true;
            while (!moved)
                std::this_thread::yield();
            EXPECT_EQ(Ok, decoder.SendOnSample(block, sizeof block, &duration));
            EXPECT_EQ(static_cast<std::size_t>(pass), callback.blocks().size());
        }
        return 0;
    };
    decoder.onSeek = [&] {
        DecoderLock lock(decoder.decoderLock());
        decoder.repositioned();
    };
    play();
    while (!blockRead)
        std::this_thread::yield();
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 0}));
    moved = true;
    ASSERT_TRUE(callback.waitFor(1));
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
    EXPECT_LE(tooEarly, 100); // one at most was on its way when a seek came
}
