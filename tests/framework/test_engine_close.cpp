// The end of a run that does not end by itself, and what must not hold it up.
#include "EngineFixture.h"
#include "LongDeadlines.h"

using namespace avr::test;

TEST_F(Engine, CloseInsideACallbackLeavesOnlyTheCloseEvent)
{
    for (int where : {2, 4, 5, 6, 1}) {
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
        openAndWait(Script());
        decoder.Start(); // refused when it was closed in event 2
        expectOneRun();
        Events const events = callback.events();
        if (where != 1) {
            ASSERT_GE(events.size(), 2u);
            EXPECT_EQ(where, events[events.size() - 2]);
        }
    }
}

TEST_F(Engine, CloseInsideOnSampleOrASeeksEventEndsTheRun)
{
    callback.onSample = [&] { return decoder.Close(); };
    runToTheEnd();
    EXPECT_EQ((Events{2, 4, 1}), callback.events());
    EXPECT_EQ(1u, callback.blocks().size());

    // On the seeking thread, while the decoding thread is stuck in OnSample.
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
    setLongDeadlines();
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
    playStubbornly();
    LogCapture log;
    std::thread closing([&] { decoder.Close(); });
    while (!log.has("[DecoderImple::Close()] try to join again"))
        std::this_thread::sleep_for(milliseconds(5));
    stubborn = false;
    closing.join();
    EXPECT_TRUE(log.has("[DecoderImple::Close()] join timeouted.\n"
                        "[DecoderImple::Close()] close stream again\n"));
    EXPECT_TRUE(log.has("[DecoderImple::Close()] playing thread has ended"));
    expectOneRun();
}

TEST_F(Engine, CloseClosesTheStreamAgainUntilTheThreadIsGone)
{
    deadlines().closeAgain = milliseconds(5);
    deadlines().joinReport = std::chrono::hours(1); // which closes it, too
    auto const waitForCloses = [&](int closes) {
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (stream->closes() < closes && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        EXPECT_GE(stream->closes(), closes);
        return 0;
    };
    decoder.onPlay = [&] { return waitForCloses(3); };
    decoder.onClose = [&] { waitForCloses(8); };
    begin();
    decoder.Close();
    expectOneRun();
}

TEST_F(Engine, AnInterruptionLeavesNothingHalfDone)
{
    // A forced close on a thread that is interrupted meanwhile.
    playStubbornly();
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
        runToTheEnd();
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
    decoder.onOpen = [&] {
        FakeSoundDevice::instance().completes = false;
        return probe(), 0;
    };
    decoder.onClose = probe;
    callback.onEvent = [&](int) { probe(); };
    callback.onSample = [&] { return probe(), -1; };
    runToTheEnd();
    EXPECT_EQ(7, probes); // open, 2, 4, the block, 0, close, 1
}

TEST_F(Engine, ClosesOfManyThreadsAllReturn)
{
    for (int round = 0; round < 20; ++round) {
        callback.clear();
        begin();
        std::vector<std::thread> closers;
        for (int i = 0; i < 4; ++i)
            closers.emplace_back([&] { decoder.Close(); });
        for (auto& closer : closers)
            closer.join();
        expectOneRun();
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
    expectOneRun();
}

TEST_F(Engine, AThreadThatCannotBeMadeFailsTheOpen)
{
    deadlines().threadStackBytes = ~std::size_t(0) << 20; // nearly all that there can be
    EXPECT_EQ(ErrorFailed, decoder.Open(streamOf({}), &callback));
    EXPECT_EQ(DecoderStateBase::Closed, state());
    EXPECT_TRUE(callback.events().empty());
    deadlines() = Deadlines();
    begin();
    decoder.Close();
    expectOneRun();
}
