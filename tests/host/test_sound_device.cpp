#include "SoundDevice.h"
#include "TempDir.h"

#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <random>

using namespace avr::host;

namespace {

constexpr PcmFormat Cd{44100, 2, 2};
constexpr PcmFormat Packed24{48000, 2, 3};
constexpr int Failed = -10002;

/// Notes what is asked of it, and behaves as it is told.
class ScriptedSink : public ISoundSink {
public:
    std::atomic<bool> gate{false}, inWrite{false}; ///< write waits inside while gate is set
    std::atomic<bool> full{false}, throws{false};
    std::atomic<bool> holds{false}; ///< drained() says no
    std::atomic<std::size_t> mostPerWrite{1u << 20};
    std::atomic<int> faults{0}; ///< two threads inside, or a part of a frame

    std::string pcm() { return locked(m_pcm); }
    /// o(pen) w(rite) f(inish) ?(drained) p(ause) r(esume) d(iscard) c(lose)
    std::string calls() { return locked(m_calls); }

    bool open(PcmFormat const& format, std::string&) override
    {
        m_frameBytes = format.frameBytes();
        return enter('o');
    }
    long write(const std::uint8_t* data, std::size_t bytes, std::string&) override
    {
        enter('w');
        inWrite = true;
        while (gate)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        inWrite = false;
        if (throws)
            throw std::runtime_error("the sink burst");
        faults += bytes == 0 || bytes % m_frameBytes != 0;
        const std::size_t most = full ? 0 : mostPerWrite - mostPerWrite % m_frameBytes;
        std::lock_guard<std::mutex> guard(m_lock);
        m_pcm.append(reinterpret_cast<const char*>(data), std::min(bytes, most));
        return long(std::min(bytes, most));
    }
    void finish() override { enter('f'); }
    bool drained() override { return enter('?') && !holds; }
    void pause(bool paused) override { enter(paused ? 'p' : 'r'); }
    void discard() override { enter('d'); }
    bool close(std::string&) override { return enter('c'); }

private:
    std::string locked(std::string const& text)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        return text;
    }
    bool enter(char call)
    {
        faults += inWrite;
        std::lock_guard<std::mutex> guard(m_lock);
        m_calls += call;
        return true;
    }
    std::mutex m_lock;
    std::string m_pcm, m_calls; ///< guarded by m_lock
    std::size_t m_frameBytes = 1;
};

class Device : public testing::Test {
protected:
    Device() { device.setSink(std::unique_ptr<ISoundSink>(sink)); }
    ~Device() override
    {
        sink->gate = false;
        EXPECT_EQ(sink->faults, 0);
    }
    void begin(PcmFormat const& format = Cd)
    {
        ASSERT_TRUE(device.beginRun(format, error)) << error;
    }
    int put(std::string const& pcm) { return device.put(pcm.data(), pcm.size()); }
    /// Plays what is queued to its end. @return everything that the sink has taken so far
    std::string playedOut()
    {
        device.putEofMark(true);
        EXPECT_TRUE(eventually([this] { return device.isPlaybackCompleted(); }));
        return sink->pcm();
    }
    void waitInWrite(std::string const& pcm)
    {
        sink->gate = true;
        ASSERT_EQ(put(pcm), 0);
        ASSERT_TRUE(eventually([this] { return sink->inWrite.load(); }));
    }
    /// With a full queue, what a put gives that waits when `end` comes.
    int waitingPut(std::function<void(boost::thread&)> const& end)
    {
        EXPECT_EQ(put(std::string(200000, 'q')), 0);
        std::atomic<int> result{1};
        boost::thread thread([this, &result] {
            try {
                result = put("late");
            } catch (boost::thread_interrupted const&) {
                result = 2;
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(result, 1) << "put did not wait";
        end(thread);
        thread.join();
        return result;
    }

    ScriptedSink* const sink = new ScriptedSink;
    SoundDevice device;
    std::string error;
};

} // namespace

TEST_F(Device, ASlowSinkGetsEveryFrameToTheVeryEnd)
{
    const std::string tune = noise(6 * 50000); // 50,000 frames
    sink->mostPerWrite = 1500;
    begin(Packed24);
    boost::thread stutter([this] {
        for (; !boost::this_thread::interruption_requested(); sink->full = !sink->full)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    std::mt19937 random(7);
    for (std::size_t at = 0, bytes = 0; at < tune.size(); at += bytes) {
        bytes = std::min<std::size_t>(random() % 9000 % (1 + random() % 9000), tune.size() - at);
        ASSERT_EQ(device.put(tune.data() + at, bytes), 0);
    }
    EXPECT_TRUE(playedOut() == tune);
    EXPECT_EQ(device.bytesTaken(), 300000u);
    stutter.interrupt();
    stutter.join();
}

TEST_F(Device, CompletedOnlyWhenTheSinkIsEmptyToo)
{
    begin();
    sink->holds = true;
    waitInWrite("abcdefgh");
    device.putEofMark(true);
    EXPECT_FALSE(device.isPlaybackCompleted()) << "the block is being written";
    sink->gate = false;
    ASSERT_TRUE(eventually([this] { return sink->calls().substr(0, 4) == "owf?"; }));
    EXPECT_FALSE(device.isPlaybackCompleted()) << "the sink holds it";
    sink->holds = false;
    EXPECT_EQ(playedOut(), "abcdefgh");
    // The next track begins with nothing of the last one, and an unfinished frame ends nothing.
    device.pause(true);
    begin();
    EXPECT_FALSE(device.getEofMark());
    ASSERT_EQ(put("abcdef"), 0);
    EXPECT_EQ(playedOut(), "abcdefghabcd");
}

TEST_F(Device, AFullQueueHoldsThePutUntilThereIsRoomOrAnEnd)
{
    sink->full = true;
    begin();
    EXPECT_EQ(waitingPut([](boost::thread& thread) { thread.interrupt(); }), 2);
    device.discard();
    EXPECT_EQ(waitingPut([this](boost::thread&) { device.discard(); }), 0);
    device.discard();
    EXPECT_EQ(waitingPut([this](boost::thread&) { device.stop(); }), Failed);
    EXPECT_EQ(put("abcd"), Failed);
    begin();
    // Below the limit a block of any size is taken at once.
    ASSERT_EQ(put("abcd"), 0);
    EXPECT_EQ(waitingPut([this](boost::thread&) { sink->full = false; }), 0);
    EXPECT_EQ(playedOut(), "abcd" + std::string(200000, 'q') + "late");
}

TEST_F(Device, ASeekDropsTheRestOfTheBlockBeingWritten)
{
    begin();
    sink->mostPerWrite = 4;
    waitInWrite("old1old2old3");
    device.putEofMark(true);
    device.discard();
    EXPECT_FALSE(device.getEofMark());
    ASSERT_EQ(put("new1new2"), 0);
    sink->gate = false;
    EXPECT_EQ(playedOut(), "old1new1new2");
    EXPECT_EQ(sink->calls().substr(0, 6), "owdwwf");
    // Half a frame from before a seek does not shift the frames after it.
    ASSERT_EQ(put("ol"), 0);
    device.discard();
    ASSERT_EQ(put("new3"), 0);
    EXPECT_EQ(playedOut(), "old1new1new2new3");
}

TEST_F(Device, AFailedSinkEndsTheRunAndTheNextMayWork)
{
    sink->full = true;
    begin();
    EXPECT_EQ(waitingPut([this](boost::thread&) { sink->throws = true; }), Failed);
    EXPECT_EQ(device.failure(), "the sink burst");
    EXPECT_FALSE(device.isPlaybackCompleted()) << "no mark";
    device.putEofMark(true);
    EXPECT_TRUE(device.isPlaybackCompleted());

    sink->throws = sink->full = false;
    begin({0xFFFFFFFFu, 0xFFFF, 4});
    EXPECT_EQ(device.failure(), "");
    EXPECT_EQ(put("abcd"), 0);
    EXPECT_FALSE(device.beginRun({8000, 1, 5}, error));
    EXPECT_EQ(put("abcd"), Failed);
}

TEST_F(Device, AnythingAtOnceAndThenATuneIsWhole)
{
    sink->mostPerWrite = 700;
    const std::function<void(unsigned)> acts[] = {
        [&](unsigned any) { put(std::string(any % 3000, 'x')); },
        [&](unsigned any) { put(std::string(any % 70000, 'y')); },
        [&](unsigned any) { device.pause(any % 3 == 0); },
        [&](unsigned any) { any % 2 ? device.discard() : device.putEofMark(any % 4 < 2); },
        [&](unsigned any) { sink->holds = any % 2 && !device.isPlaybackCompleted(); },
    };
    std::atomic<bool> over{false};
    boost::thread_group many;
    for (auto const& act : acts)
        many.create_thread([&] {
            for (std::mt19937 random(1); !over;)
                act(unsigned(random()));
        });
    for (int round = 0; round < 150; ++round) {
        device.stop();
        begin(round % 2 ? Cd : Packed24);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    over = true;
    device.stop();
    many.join_all();
    sink->holds = false;
    begin(Packed24);
    const std::size_t before = sink->pcm().size();
    ASSERT_EQ(put(noise(600000)), 0);
    EXPECT_TRUE(playedOut().substr(before) == noise(600000));
}
