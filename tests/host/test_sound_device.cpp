#include "PcmQueue.h"
#include "Sinks.h"
#include "SoundDevice.h"
#include "TempDir.h"

#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <random>
#include <set>

using namespace avr::host;

namespace {

constexpr PcmFormat Cd{44100, 2, 2};
constexpr PcmFormat Packed24{48000, 2, 3};
constexpr int Failed = -10002;

/// What a sink did, and how it is to behave. Outlives the sink.
struct Script {
    std::mutex lock;
    std::string pcm;   ///< guarded by lock
    std::string calls; ///< guarded by lock: o(pen) f(inish) p(ause) r(esume) d(iscard) c(lose)
    std::atomic<std::size_t> mostPerWrite{1u << 20};
    std::atomic<bool> gate{false}; ///< write waits inside while it is set
    std::atomic<bool> inWrite{false};
    std::atomic<bool> full{false};  ///< write takes nothing
    std::atomic<bool> holds{false}; ///< drained() says no
    std::atomic<bool> throws{false};
    std::atomic<bool> refuses{false};
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    std::atomic<int> partFrames{0};
    std::atomic<int> visits{0};

    std::string log()
    {
        std::lock_guard<std::mutex> guard(lock);
        return calls;
    }
    std::string taken()
    {
        std::lock_guard<std::mutex> guard(lock);
        return pcm;
    }
};

class ScriptedSink : public ISoundSink {
public:
    explicit ScriptedSink(Script& script) : m_script(script) {}

    bool open(PcmFormat const& format, std::string& error) override
    {
        Visit visit(m_script, "o");
        m_frameBytes = format.frameBytes();
        error = "refused";
        return !m_script.refuses;
    }
    long write(const std::uint8_t* pcm, std::size_t bytes, std::string&) override
    {
        Visit visit(m_script, "");
        m_script.inWrite = true;
        while (m_script.gate)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        m_script.inWrite = false;
        if (m_script.throws)
            throw std::runtime_error("the sink burst");
        if (bytes == 0 || bytes % m_frameBytes != 0)
            ++m_script.partFrames;
        const std::size_t most = m_script.mostPerWrite / m_frameBytes * m_frameBytes;
        const std::size_t taken = m_script.full ? 0 : std::min(bytes, most);
        std::lock_guard<std::mutex> guard(m_script.lock);
        m_script.pcm.append(reinterpret_cast<const char*>(pcm), taken);
        return long(taken);
    }
    void finish() override { Visit visit(m_script, "f"); }
    bool drained() override
    {
        Visit visit(m_script, "");
        return !m_script.holds;
    }
    void pause(bool paused) override { Visit visit(m_script, paused ? "p" : "r"); }
    void discard() override { Visit visit(m_script, "d"); }
    bool close(std::string& error) override
    {
        Visit visit(m_script, "c");
        error = "refused";
        return !m_script.refuses;
    }

private:
    /// Sees whether two threads are ever inside.
    struct Visit {
        Visit(Script& script, const char* call) : m_script(script)
        {
            script.overlaps += script.inside++ != 0;
            ++script.visits;
            std::lock_guard<std::mutex> guard(script.lock);
            script.calls += call;
        }
        ~Visit() { --m_script.inside; }
        Script& m_script;
    };
    Script& m_script;
    std::size_t m_frameBytes = 1;
};

class SoundDeviceTest : public testing::Test {
protected:
    SoundDeviceTest() { device.setSink(std::make_unique<ScriptedSink>(script)); }
    ~SoundDeviceTest() override
    {
        script.gate = false;
        EXPECT_EQ(script.overlaps, 0);
        EXPECT_EQ(script.partFrames, 0);
    }
    void begin(PcmFormat const& format = Cd)
    {
        std::string error;
        ASSERT_TRUE(device.beginRun(format, error)) << error;
    }
    int put(std::string const& pcm) { return device.put(pcm.data(), pcm.size()); }
    bool completes()
    {
        return eventually([this] { return device.isPlaybackCompleted(); });
    }
    /// A put of `pcm` on a thread of its own that is waiting at the limit when this returns.
    boost::thread waitingPut(std::atomic<int>& result)
    {
        EXPECT_EQ(put(std::string(200000, 'q')), 0);
        result = 0;
        boost::thread thread([this, &result] {
            result = 1;
            try {
                result = put("late");
            } catch (boost::thread_interrupted const&) {
                result = 2;
            }
        });
        EXPECT_TRUE(eventually([&] { return result != 0; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(result, 1) << "put did not wait";
        return thread;
    }

    Script script;
    SoundDevice device;
};

std::string noise(std::size_t bytes, unsigned seed = 1)
{
    std::mt19937 random(seed);
    std::string text(bytes, '\0');
    for (char& letter : text)
        letter = char(random());
    return text;
}

} // namespace

TEST_F(SoundDeviceTest, BlocksOfAnySizeArriveWholeAndInOrder)
{
    const std::string tune = noise(6 * 50000);
    script.mostPerWrite = 1500;
    begin(Packed24);
    std::mt19937 random(7);
    for (std::size_t at = 0; at < tune.size();) {
        const std::size_t bytes =
            std::min<std::size_t>(random() % 9000 % (1 + random() % 9000), tune.size() - at);
        ASSERT_EQ(device.put(tune.data() + at, bytes), 0);
        at += bytes;
    }
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    EXPECT_TRUE(script.taken() == tune);
    EXPECT_EQ(device.bytesTaken(), 300000u);
    EXPECT_EQ(script.log(), "of");
}

TEST(PcmQueue, RecyclesItsChunks)
{
    PcmQueue queue(6);
    std::set<const void*> chunks;
    std::vector<PcmQueue::Chunk> elsewhere; // gets whatever memory the queue gives back
    for (int block = 0; block < 200; ++block) {
        const std::string pcm(20000 + std::size_t(block % 7), 'x');
        queue.push(reinterpret_cast<const std::uint8_t*>(pcm.data()), pcm.size());
        while (queue.bytes() != 0) {
            chunks.insert(queue.take().data());
            elsewhere.emplace_back(16 * 1024);
        }
    }
    EXPECT_LE(chunks.size(), 6u);
}

TEST_F(SoundDeviceTest, CompletedOnlyWhenTheSinkIsEmptyToo)
{
    EXPECT_FALSE(device.isPlaybackCompleted());
    begin();
    script.holds = true;
    script.gate = true;
    ASSERT_EQ(put("abcdefgh"), 0);
    device.putEofMark(true);
    ASSERT_TRUE(eventually([this] { return script.inWrite.load(); }));
    EXPECT_FALSE(device.isPlaybackCompleted()) << "the block is being written";
    script.gate = false;
    ASSERT_TRUE(eventually([this] { return script.log() == "of"; }));
    EXPECT_FALSE(device.isPlaybackCompleted()) << "the sink holds it";
    device.pause(true);
    script.holds = false;
    ASSERT_TRUE(eventually([this] { return script.log() == "ofp"; }));
    EXPECT_FALSE(device.isPlaybackCompleted()) << "paused";
    device.pause(false);
    EXPECT_TRUE(completes());
    device.putEofMark(false);
    EXPECT_FALSE(device.isPlaybackCompleted());
    // The next track begins with nothing of the last one, and an unfinished frame ends nothing.
    begin();
    EXPECT_FALSE(device.getEofMark());
    ASSERT_EQ(put("abcdef"), 0);
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    EXPECT_EQ(script.taken(), "abcdefghabcd");
}

TEST_F(SoundDeviceTest, NothingQueuedIsComplete)
{
    device.putEofMark(true);
    EXPECT_TRUE(device.isPlaybackCompleted()) << "no run at all";
    begin();
    EXPECT_FALSE(device.isPlaybackCompleted()) << "no mark";
    device.putEofMark(true);
    EXPECT_TRUE(device.isPlaybackCompleted());
    device.pause(true);
    EXPECT_FALSE(device.isPlaybackCompleted());
}

TEST_F(SoundDeviceTest, AnIdleDeviceLeavesTheSinkAlone)
{
    begin();
    ASSERT_EQ(put("abcd"), 0);
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    const int visits = script.visits;
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_EQ(script.visits, visits);
    // Paused while the sink plays its rest: not asked either.
    script.holds = true;
    ASSERT_EQ(put("abcd"), 0);
    ASSERT_TRUE(eventually([&] { return script.log() == "off"; }));
    device.pause(true);
    ASSERT_TRUE(eventually([&] { return script.log() == "offp"; }));
    const int paused = script.visits;
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_EQ(script.visits, paused);
}

TEST_F(SoundDeviceTest, AFullQueueHoldsThePutUntilThereIsRoom)
{
    script.full = true;
    begin();
    std::atomic<int> result{};
    boost::thread thread = waitingPut(result);
    script.full = false;
    thread.join();
    EXPECT_EQ(result, 0);
    // Below the limit a block of any size is taken at once.
    script.full = true;
    ASSERT_EQ(put(std::string(5000000, 'b')), 0);
    script.full = false;
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    EXPECT_EQ(device.bytesTaken(), 5200004u);
}

TEST_F(SoundDeviceTest, AWaitingPutEndsWithStopDiscardOrInterruption)
{
    script.full = true;
    std::atomic<int> result{};
    begin();
    boost::thread interrupted = waitingPut(result);
    interrupted.interrupt();
    interrupted.join();
    EXPECT_EQ(result, 2);
    device.discard();
    boost::thread dropped = waitingPut(result);
    device.discard();
    dropped.join();
    EXPECT_EQ(result, 0);
    boost::thread stopped = waitingPut(result);
    device.stop();
    EXPECT_EQ(put("abcd"), Failed);
    begin();
    stopped.join();
    EXPECT_EQ(result, Failed) << "a put of the stopped run got into the next one";
    script.full = false;
    EXPECT_EQ(put("abcd"), 0);
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    EXPECT_EQ(script.taken(), "abcd") << "something dropped was played";
}

TEST_F(SoundDeviceTest, ASeekDropsTheRestOfTheBlockBeingWritten)
{
    begin();
    script.mostPerWrite = 4;
    script.gate = true;
    ASSERT_EQ(put("old1old2old3"), 0);
    device.putEofMark(true);
    ASSERT_TRUE(eventually([this] { return script.inWrite.load(); }));
    device.discard();
    EXPECT_FALSE(device.getEofMark());
    ASSERT_EQ(put("new1new2"), 0);
    script.gate = false;
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    EXPECT_EQ(script.taken(), "old1new1new2");
    EXPECT_EQ(script.log(), "odf");
    // Half a frame from before a seek does not shift the frames after it.
    ASSERT_EQ(put("ol"), 0);
    device.discard();
    ASSERT_EQ(put("new3"), 0);
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    EXPECT_EQ(script.taken(), "old1new1new2new3");
}

TEST_F(SoundDeviceTest, PausedPcmIsKept)
{
    begin();
    device.pause(true);
    ASSERT_TRUE(eventually([this] { return script.log() == "op"; }));
    ASSERT_EQ(put("abcdefgh"), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(script.taken(), "");
    device.pause(true);
    device.pause(false);
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    EXPECT_EQ(script.taken(), "abcdefgh");
    EXPECT_EQ(script.log(), "oprf");
    // A run that begins while paused does not stay silent, and the sink hears of it.
    device.pause(true);
    ASSERT_TRUE(eventually([this] { return script.log() == "oprfp"; }));
    begin();
    EXPECT_EQ(script.log(), "oprfpro");
}

TEST_F(SoundDeviceTest, AFailedSinkEndsTheRunAndTheNextMayWork)
{
    script.full = true;
    begin();
    std::atomic<int> result{};
    boost::thread thread = waitingPut(result);
    script.throws = true;
    thread.join();
    EXPECT_EQ(result, Failed);
    EXPECT_EQ(device.failure(), "the sink burst");
    EXPECT_EQ(put("abcd"), Failed);
    EXPECT_FALSE(device.isPlaybackCompleted()) << "no mark";
    device.putEofMark(true);
    EXPECT_TRUE(device.isPlaybackCompleted());

    script.throws = script.full = false;
    begin();
    EXPECT_EQ(device.failure(), "");
    EXPECT_EQ(put("abcd"), 0);

    script.refuses = true;
    std::string error;
    EXPECT_FALSE(device.beginRun(Packed24, error));
    EXPECT_EQ(error, "refused");
    EXPECT_EQ(put("abcd"), Failed);
    error.clear();
    EXPECT_FALSE(device.closeSink(error));
    EXPECT_EQ(error, "refused");
    EXPECT_FALSE(device.beginRun(Cd, error)) << "there is no sink any more";
    EXPECT_FALSE(error.empty());
}

TEST_F(SoundDeviceTest, FormatsThatCannotBe)
{
    for (PcmFormat const& format : {PcmFormat{0, 2, 2}, PcmFormat{44100, 0, 2},
                                    PcmFormat{44100, 2, 0}, PcmFormat{8000, 1, 5}}) {
        std::string error;
        EXPECT_FALSE(device.beginRun(format, error));
        EXPECT_FALSE(error.empty());
        EXPECT_EQ(put("abcd"), Failed);
    }
    EXPECT_EQ(script.log(), "");
    begin({0xFFFFFFFFu, 0xFFFF, 4});
    EXPECT_EQ(put("abcd"), 0);
}

TEST_F(SoundDeviceTest, BeginRunWaitsUntilTheThreadIsOutOfTheSink)
{
    begin();
    script.gate = true;
    ASSERT_EQ(put("abcd"), 0);
    ASSERT_TRUE(eventually([this] { return script.inWrite.load(); }));
    device.stop();
    std::atomic<bool> begun{false};
    std::thread thread([&] {
        begin(Packed24);
        begun = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(begun);
    EXPECT_EQ(script.log(), "o");
    script.gate = false;
    thread.join();
    EXPECT_EQ(script.log().back(), 'o');
}

TEST_F(SoundDeviceTest, AnythingAtOnceAndThenATuneIsWhole)
{
    begin();
    script.mostPerWrite = 700;
    std::atomic<bool> over{false};
    const auto repeat = [&](std::function<void(unsigned)> act, unsigned seed) {
        return boost::thread([&over, act, seed] {
            std::mt19937 random(seed);
            while (!over)
                act(unsigned(random()));
        });
    };
    boost::thread many[] = {
        repeat([&](unsigned any) { put(std::string(any % 3000, 'x')); }, 1),
        repeat([&](unsigned any) { put(std::string(any % 70000, 'y')); }, 2),
        repeat([&](unsigned any) { device.pause(any % 3 == 0); }, 3),
        repeat([&](unsigned any) { any % 2 ? device.discard() : device.putEofMark(any % 4 < 2); },
               4),
        repeat(
            [&](unsigned any) {
                script.holds = any % 2;
                device.isPlaybackCompleted();
            },
            5),
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(400);
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        std::string error;
        device.stop();
        device.beginRun(round % 2 ? Cd : Packed24, error);
        if (round % 16 == 15)
            device.setSink(std::make_unique<ScriptedSink>(script));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    over = true;
    device.stop();
    for (boost::thread& thread : many)
        thread.join();

    script.holds = false;
    begin(Packed24);
    const std::size_t before = script.taken().size();
    const std::string tune = noise(600000, 9);
    ASSERT_EQ(put(tune), 0);
    device.putEofMark(true);
    ASSERT_TRUE(completes());
    EXPECT_TRUE(script.taken().substr(before) == tune);
}

TEST(SoundDevice, TheDecodersSeeTheProcessesOwn)
{
    EXPECT_EQ(Avr::Player::soundDeviceThread::getInstance(), &SoundDevice::instance());
    // Ending the process with its thread running must be clean.
    SoundDevice& device = SoundDevice::instance();
    device.setSink(makeNullSink(Pace::Realtime));
    std::string error;
    ASSERT_TRUE(device.beginRun({44100, 2, 2}, error)) << error;
    EXPECT_EQ(device.put("abcd", 4), 0);
    EXPECT_EQ(device.put(nullptr, 4), Failed);
}
