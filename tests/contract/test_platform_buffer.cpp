// What any platform's read-ahead buffer keeps to.
#include "Samples.h"
#include "platform/BufferStream.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using std::chrono::milliseconds;

namespace {

constexpr int Patience = 20000; // milliseconds

class Buffer : public testing::Test {
protected:
    void over(Script script)
    {
        stream = scripted(std::move(script));
        ASSERT_GE(stream->Open(), 0);
        buffer.reset(new BufferStream(stream));
    }
    void over(Bytes data, int capabilities = ScriptedStream::CanSeekByte)
    {
        Script script;
        script.data = std::move(data);
        script.capabilities = capabilities;
        over(std::move(script));
    }
    void start(unsigned int maximum, unsigned int startAt, unsigned int stopAt = 0)
    {
        buffer->SetMaxBufferSize(maximum);
        buffer->SetStartThreashold(startAt);
        buffer->SetStopThreashold(stopAt);
        buffer->StartBuffering();
    }
    int wait(int time = Patience)
    {
        return buffer->WaitForReadable(time, [this](int percent) { fills.push_back(percent); });
    }
    /// Reads up to len bytes; the result is negative or the count.
    int read(unsigned int len, Bytes* into = nullptr)
    {
        Bytes bytes(len);
        unsigned int got = 99;
        int const result = buffer->Read(bytes.data(), len, &got);
        EXPECT_LE(got, len);
        if (result < 0)
            return result;
        EXPECT_TRUE(len == 0 || got > 0);
        bytes.resize(got);
        if (into != nullptr)
            append(*into, bytes);
        return static_cast<int>(got);
    }
    Bytes readExactly(std::size_t len)
    {
        Bytes all;
        while (all.size() < len) {
            int const result = read(static_cast<unsigned int>(len - all.size()), &all);
            if (result < 0 && (result != StreamRetry || wait() != 0))
                break;
        }
        return all;
    }
    static Bytes part(Bytes const& bytes, std::size_t from, std::size_t len)
    {
        auto const first = bytes.begin() + static_cast<long>(std::min(from, bytes.size()));
        auto const most = static_cast<std::size_t>(bytes.end() - first);
        return Bytes(first, first + static_cast<long>(std::min(len, most)));
    }

    boost::shared_ptr<ScriptedStream> stream;
    std::unique_ptr<BufferStream> buffer;
    std::vector<int> fills;
};

} // namespace

TEST_F(Buffer, PassesThroughUntilItIsStarted)
{
    Bytes const data = noise(200000);
    over(data, 0);
    EXPECT_EQ(0, read(0));
    EXPECT_EQ(100, read(100));
    EXPECT_EQ(1, stream->reads());
    EXPECT_EQ(0, wait()); // reads a little and keeps it
    EXPECT_EQ(100, buffer->GetPosition());
    EXPECT_EQ(part(data, 100, 99900), readExactly(99900));
    // The last 64 KiB may be read again, on a stream that cannot seek.
    EXPECT_EQ(Ok, buffer->SeekByte(100000 - 65536));
    EXPECT_EQ(part(data, 100000 - 65536, 70000), readExactly(70000));
    EXPECT_LT(buffer->SeekByte(199999), 0); // changes nothing
    EXPECT_EQ(part(data, 100000 - 65536 + 70000, 10), readExactly(10));
    EXPECT_EQ(stream, buffer->GetStream());
}

TEST_F(Buffer, IsReadableBetweenTheThresholds)
{
    Script script;
    script.data = noise(100000);
    script.longestRead = 1000;
    script.fault = Script::Fault::RetryForever;
    script.faultAtRead = 30; // 30,000 bytes come
    over(script);
    start(50000, 30001);
    EXPECT_EQ(BufferStream::TimedOut, wait(100));
    EXPECT_EQ(StreamRetry, read(1));
    ASSERT_FALSE(fills.empty());
    EXPECT_TRUE(std::is_sorted(fills.begin(), fills.end()));
    EXPECT_EQ(99, fills.back());
    buffer->SetStartThreashold(30000);
    EXPECT_EQ(0, wait());
    EXPECT_EQ(100, fills.back());
    buffer->SetStopThreashold(5000);
    EXPECT_EQ(20000, read(20000));
    EXPECT_EQ(5000, read(20000));
    EXPECT_EQ(StreamRetry, read(20000)); // until the start threshold again
    EXPECT_EQ(BufferStream::TimedOut, wait(60));
    EXPECT_EQ(16, fills.back());
}

TEST_F(Buffer, GivesWhatCameBeforeTheEndOrAnError)
{
    for (Script::Fault fault : {Script::Fault::End, Script::Fault::Error, Script::Fault::Throw}) {
        Script script;
        script.data = noise(100000);
        script.longestRead = 1000;
        script.fault = fault;
        script.faultAtRead = 12;
        over(script);
        start(50000, 40000, 1000); // far below the start threshold
        EXPECT_EQ(0, wait());
        EXPECT_EQ(part(script.data, 0, 12000), readExactly(20000));
        int const end = fault == Script::Fault::End ? ResultEndOfStream : ErrorFailed;
        EXPECT_EQ(end, read(10));
        EXPECT_EQ(0, wait());
        EXPECT_EQ(end, read(10));
        EXPECT_EQ(0, read(0));
    }
}

TEST_F(Buffer, SeeksInsideOnlyMoveTheReader)
{
    Bytes const data = noise(300000);
    over(data, 0);
    start(100000, 100000);
    EXPECT_EQ(part(data, 0, 90000), readExactly(90000));
    EXPECT_EQ(Ok, buffer->SeekByte(30000));
    EXPECT_EQ(30000, buffer->GetPosition());
    EXPECT_EQ(part(data, 30000, 150000), readExactly(150000));
    long long const here = buffer->GetPosition();
    EXPECT_LT(buffer->SeekByte(299999), 0);
    EXPECT_LT(buffer->SeekByte(-1), 0);
    EXPECT_EQ(here, buffer->GetPosition());
    EXPECT_EQ(part(data, 180000, 120000), readExactly(200000));
    EXPECT_EQ(ResultEndOfStream, read(1));
    EXPECT_EQ(Ok, buffer->SeekByte(299000)); // after the end, too
    EXPECT_EQ(part(data, 299000, 1000), readExactly(2000));
    EXPECT_EQ(299999, stream->lastOffset()); // the stream was asked only for what is outside
}

TEST_F(Buffer, SeeksOutsideBeginAnewThere)
{
    Bytes const data = noise(900000);
    over(data);
    start(100000, 50000);
    EXPECT_EQ(part(data, 0, 10), readExactly(10));
    EXPECT_EQ(Ok, buffer->SeekByte(850000));
    EXPECT_EQ(part(data, 850000, 50000), readExactly(90000));
    EXPECT_EQ(ResultEndOfStream, read(1));
    EXPECT_EQ(Ok, buffer->SeekByte(5)); // filling starts again
    EXPECT_EQ(part(data, 5, 300000), readExactly(300000));
    EXPECT_LT(buffer->SeekTime(3), 0);
    EXPECT_EQ(300005, buffer->GetPosition());
}

TEST_F(Buffer, ASeekByTimeForgetsThePosition)
{
    Bytes const data = noise(300000);
    over(data, ScriptedStream::CanSeekTime);
    start(100000, 50000);
    readExactly(20000);
    EXPECT_EQ(Ok, buffer->SeekTime(2.5));
    EXPECT_EQ(2.5, stream->lastTime());
    EXPECT_EQ(-1, buffer->GetPosition());
    EXPECT_EQ(10u, readExactly(10).size());
    EXPECT_EQ(-1, buffer->GetPosition());
    EXPECT_LT(buffer->SeekByte(10), 0); // nobody knows whether that is in the buffer
}

TEST_F(Buffer, ACloseWakesEveryoneWhoWaits)
{
    for (bool started : {false, true}) {
        for (bool outer : {false, true}) {
            Script script;
            script.fault = started ? Script::Fault::RetryForever : Script::Fault::Stall;
            over(script);
            if (started)
                start(50000, 10000);
            std::thread closing([&] {
                std::this_thread::sleep_for(milliseconds(20));
                if (outer)
                    buffer->Close();
                else
                    stream->Close();
            });
            auto const begin = std::chrono::steady_clock::now();
            EXPECT_EQ(ErrorFailed, wait(600000) < 0 ? ErrorFailed : read(1));
            EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
            EXPECT_EQ(ErrorFailed, read(1));
            closing.join();
        }
    }
}

TEST_F(Buffer, ReadsNothingWhileTheStreamIsClosed)
{
    Bytes const data = noise(100000);
    over(data);
    stream->Close();
    start(50000, 10000);
    EXPECT_EQ(ErrorFailed, wait(100));
    EXPECT_EQ(0, stream->reads());
    EXPECT_EQ(Ok, buffer->Open());
    EXPECT_EQ(part(data, 0, 60000), readExactly(60000));
    buffer->Close();
    EXPECT_EQ(Ok, buffer->Open()); // begins at byte 0 again
    EXPECT_EQ(0, buffer->GetPosition());
    EXPECT_EQ(part(data, 0, 60000), readExactly(60000));
}

TEST_F(Buffer, ReadsNothingAheadInsideTheSeekBracket)
{
    over(noise(100000));
    buffer->SeekLock(true);
    buffer->SeekLock(true);
    start(50000, 10000);
    EXPECT_EQ(BufferStream::TimedOut, wait(60));
    buffer->SeekLock(false);
    EXPECT_EQ(BufferStream::TimedOut, wait(60));
    EXPECT_EQ(0, stream->reads());
    buffer->SeekLock(false);
    EXPECT_EQ(0, wait());
}

TEST_F(Buffer, RefillsInLargeSteps)
{
    over(noise(4000000));
    start(256000, 128000);
    EXPECT_EQ(4000000u, readExactly(4000000).size());
    EXPECT_LE(stream->reads(), 4000000 / 64000 + 5); // by small sips it would be thousands
}

TEST_F(Buffer, AbsurdSizesAreClamped)
{
    Bytes const data = noise(100000);
    struct {
        unsigned int maximum, start, stop;
    } const cases[] = {{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}, {0, 0, 0}, {1, 500000, 3}, {9, 0, 9}};
    for (auto const& sizes : cases) {
        over(data);
        start(sizes.maximum, sizes.start, sizes.stop);
        EXPECT_EQ(data, readExactly(200000)) << sizes.maximum;
        buffer->StartBuffering(); // changes nothing
    }
}

TEST_F(Buffer, ReaderAndSeekerOnTwoThreadsGetWholeData)
{
    // Every byte tells its offset, so that each read can be checked by itself.
    Bytes data(400000);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<std::uint8_t>((i / 7) ^ (i >> 8));
    Script script;
    script.data = data;
    script.longestRead = 3000;
    over(script);
    start(60000, 20000);
    std::atomic<bool> done{false};
    std::mutex lock; // of the decoder: position and read belong together
    std::thread seeker([&] {
        std::mt19937 random(3);
        while (!done) {
            {
                std::lock_guard<std::mutex> guard(lock);
                EXPECT_EQ(Ok, buffer->SeekByte(static_cast<long long>(random() % 399000)));
            }
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 500));
        }
    });
    for (int checked = 0; checked < 1000;) {
        Bytes bytes;
        long long from = 0;
        {
            std::lock_guard<std::mutex> guard(lock);
            from = buffer->GetPosition();
            read(2000, &bytes);
        }
        if (bytes.empty()) {
            wait();
            continue;
        }
        ++checked;
        ASSERT_EQ(part(data, static_cast<std::size_t>(from), bytes.size()), bytes);
    }
    done = true;
    seeker.join();
    EXPECT_FALSE(stream->contractBroken());
}
