#include "BuildKind.h"
#include "FakeSoundDevice.h"
#include "LogCapture.h"
#include "Samples.h"
#include "TestDecoder.h"
#include "decoder/IDecoderCallback.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <fcntl.h>
#include <mutex>
#include <thread>

using namespace avr::test;
using namespace kiv::appli;

namespace {

constexpr int Rounds = Emulated ? 1000 : Sanitized ? 5000 : 100000;

/// Discards the log while it lives.
class Quiet {
public:
    Quiet() : m_saved(dup(STDERR_FILENO))
    {
        int const null = open("/dev/null", O_WRONLY);
        dup2(null, STDERR_FILENO);
        close(null);
    }
    ~Quiet()
    {
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
    }

private:
    int const m_saved;
};

struct Counter final : IDecoderCallback {
    int OnSample(const void*, unsigned int, TimeSpec*) override { return 0; }
    int OnEvent(int event, void*, unsigned int) override
    {
        if (event >= 0 && event < 13)
            ++seen[event];
        if (event == EventClosed) {
            std::lock_guard<std::mutex> lock(m_lock);
            m_closed.notify_one();
        }
        return 0;
    }
    /// Sleeps, so that a busy machine wakes it at once.
    void waitForRun(int round)
    {
        std::unique_lock<std::mutex> lock(m_lock);
        m_closed.wait(lock, [&] { return seen[EventClosed] >= round; });
    }
    std::atomic<int> seen[13] = {};

private:
    std::mutex m_lock;
    std::condition_variable m_closed;
};

} // namespace

TEST(EngineRaces, NoStartIsLost)
{
    Quiet quiet;
    Counter callback;
    TestDecoder decoder;
    decoder.onPlay = [] { return ResultEndOfStream; };
    auto const stream = streamOf({});
    for (int round = 0; round < Rounds; ++round) {
        ASSERT_EQ(Ok, decoder.Open(stream, &callback));
        // Hits the time before, in and after event 2 and around the wait.
        while (decoder.Start() != Ok)
            ;
        callback.waitForRun(round + 1);
    }
    EXPECT_EQ(Rounds, callback.seen[6]);
    EXPECT_EQ(0, callback.seen[0]);
}

TEST(EngineRaces, NoResumeIsLost)
{
    Quiet quiet;
    Counter callback;
    TestDecoder decoder;
    std::atomic<int> passes{0};
    decoder.onPlay = [&] {
        while (decoder.IsDecoding()) {
            decoder.PauseCheck();
            ++passes;
        }
        return 0;
    };
    decoder.Open(streamOf({}), &callback);
    while (decoder.Start() != Ok)
        ;
    while (callback.seen[4] == 0)
        std::this_thread::yield();
    for (int round = 0; round < Rounds; ++round) {
        ASSERT_EQ(Ok, decoder.Pause());
        if (round % 3 == 0)
            std::this_thread::yield();
        ASSERT_EQ(Ok, decoder.Resume());
        int const before = passes;
        if (round % 100 == 0) {
            while (passes == before)
                std::this_thread::yield();
        }
    }
    decoder.Close();
    EXPECT_EQ(1, callback.seen[1]);
}

TEST(EngineRaces, EveryOperationAtOnce)
{
    Quiet quiet;
    Counter callback;
    TestDecoder decoder;
    std::atomic<bool> done{false};
    std::vector<std::thread> players;
    auto const player = [&](auto act) {
        players.emplace_back([&, act] {
            while (!done)
                act();
        });
    };
    player([&] { decoder.Start(); });
    player([&] { decoder.Pause(), decoder.Resume(); });
    player([&] { decoder.Seek(TimeSpec{1, 0}); });
    player([&] {
        tWAVEFORMAT format;
        decoder.GetWaveFormat(format);
        decoder.Interrunpt(-10002);
    });
    int const opens = Slow ? 200 : 1000;
    for (int i = 0; i < opens; ++i) {
        ASSERT_EQ(Ok, decoder.Open(streamOf({}), &callback));
        if (i % 2 == 0)
            decoder.Close();
    }
    done = true;
    for (auto& thread : players)
        thread.join();
    decoder.Close();
    EXPECT_EQ(opens, callback.seen[1]);
}
