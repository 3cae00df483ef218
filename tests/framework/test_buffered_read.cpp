#include "BufferReaderModule.h"
#include "Deadlines.h"
#include "EngineDecoder.h"
#include "FakeSoundDevice.h"
#include "LogCapture.h"
#include "RecordingCallback.h"
#include "Samples.h"

#include <gtest/gtest.h>

#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Avr::Decoder::Deadlines;
using Avr::Decoder::deadlines;

namespace {

/// A decoder that runs the test's function on its decoding thread, with the module at hand.
class Reader final : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, IDecoder,
                                                        Avr::Decoder::BufferReaderModule<Reader>> {
public:
    ~Reader() override { Close(); }
    using Property = smart_enum<DecoderPropTypeBase>;
    int Seek(long) override { return ErrorNotSupported; }
    int Seek(double) override { return ErrorNotSupported; }
    int Seek(TimeSpec const&) override { return ErrorNotSupported; }
    int SetProperty(Property, std::string&) override { return Ok; }
    int GetProperty(Property, std::string&) override { return ErrorFailed; }

    std::function<void()> body;

    Avr::Decoder::BufferedRead& source() { return m_reader; }
    BufferStream& buffer() { return *m_reader.stream(); }
    int state() const { return DecoderImple::GetCurrentState(); }

protected:
    int playThread() override
    {
        body();
        return 0;
    }
    void closeHook() override { m_reader.install(nullptr); }
};

class Reading : public testing::Test {
protected:
    ~Reading() override { deadlines() = Deadlines(); }

    void run(Script script, std::function<void()> body)
    {
        reader.body = std::move(body);
        stream = scripted(std::move(script));
        ASSERT_EQ(Ok, reader.Open(stream, &callback));
        ASSERT_TRUE(callback.waitFor(2));
        ASSERT_EQ(Ok, reader.Start());
        ASSERT_TRUE(callback.waitFor(1));
        reader.Close();
        EXPECT_FALSE(stream->contractBroken());
    }
    static Script with(Bytes data)
    {
        Script script;
        script.data = std::move(data);
        return script;
    }

    RecordingCallback callback;
    boost::shared_ptr<ScriptedStream> stream;
    Reader reader;
};

} // namespace

TEST_F(Reading, CollectsWholeBlocksFromShortAndEmptyReads)
{
    Script script = with(noise(300000));
    script.longestRead = 7;
    script.retryBeforeEach = true;
    Bytes got(1000);
    run(script, [&] {
        EXPECT_EQ(0, reader.Read(got.data(), 10)); // no stream yet
        reader.SetBaseStreamEx(reader.currentStream());
        EXPECT_EQ(1000, reader.Read(got.data(), 1000));
    });
    EXPECT_TRUE(std::equal(got.begin(), got.end(), script.data.begin()));
}

TEST_F(Reading, GivesUpOnlyWhenTheFillStandsStill)
{
    deadlines().readWait = std::chrono::milliseconds(3);
    Script dry;
    dry.fault = Script::Fault::RetryForever;
    LogCapture log;
    run(dry, [&] {
        char byte;
        reader.SetBaseStreamEx(reader.currentStream());
        EXPECT_EQ(0, reader.Read(&byte, 1));
        EXPECT_TRUE(reader.IsDecoding()); // a dry stream is no failure
    });
    std::string const text = log.text();
    auto const times = [&](const char* what) {
        int n = 0;
        for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
            ++n;
        return n;
    };
    EXPECT_EQ(4, times("[BufferReaderModule::Read] WaitForReadable timeout!!, -62\n"));
    EXPECT_EQ(3, times("[BufferReaderModule::Read] wait one more!\n"));
}

TEST_F(Reading, AWaitEndsWhenItsReadIsOvertaken)
{
    deadlines().readWait = std::chrono::hours(1);
    Script dry;
    dry.fault = Script::Fault::RetryForever;
    reader.source().abandonWhen([asked = 0]() mutable { return ++asked == 3; });
    run(dry, [&] {
        char byte;
        reader.SetBaseStreamEx(reader.currentStream());
        EXPECT_EQ(0, reader.Read(&byte, 1));
        EXPECT_TRUE(reader.IsDecoding());
    });
}

TEST_F(Reading, AFailedStreamEndsThePlaybackButNotTheTestModes)
{
    // A stream's own time-out is a failure like any other.
    for (Script::Fault fault : {Script::Fault::Error, Script::Fault::TimedOut}) {
        for (bool testMode : {false, true}) {
            Script script = with(noise(100));
            script.fault = fault;
            script.faultAtRead = 1;
            callback.clear();
            run(script, [&] {
                char block[400];
                reader.SetBaseStreamEx(reader.currentStream());
                EXPECT_EQ(testMode ? 100 : 0, testMode ? reader.ReadTestMode(block, sizeof block)
                                                       : reader.Read(block, sizeof block));
                EXPECT_EQ(testMode, reader.IsDecoding());
                EXPECT_EQ(testMode ? DecoderStateBase::Decoding : DecoderStateBase::Error,
                          reader.state());
                EXPECT_EQ(ErrorFailed, reader.interruptedResult());
            });
        }
    }
}

TEST_F(Reading, TheFillIsReportedInStepsOfFive)
{
    run(with(noise(10)), [&] {
        for (int percent : {7, 8, 9, -1, 10, 11, 100})
            reader.BufferCallback(percent);
    });
    EXPECT_EQ((std::vector<int>{5, 10, 100}), callback.fills());
}

TEST_F(Reading, ASeekBetweenTwoReadsBeginsTheBlockAnew)
{
    // The first ten bytes come, then nothing until the seek.
    Script script = with(noise(4000));
    script.longestRead = 10;
    script.retryBeforeEach = true;
    run(script, [&] {
        Bytes block(1000);
        reader.SetBaseStreamEx(reader.currentStream());
        int waits = 0;
        bool moved = false;
        callback.onEvent = [&](int event) { // inside the wait for more, no lock is held
            // The second time: some of the block has come.
            if (event == EventBufferStatus && ++waits == 2) {
                moved = true;
                boost::lock_guard<boost::recursive_mutex> lock(reader.decoderLock());
                EXPECT_EQ(Ok, reader.buffer().SeekByte(2000));
                reader.repositioned();
            }
        };
        EXPECT_EQ(1000, reader.Read(block.data(), 1000));
        EXPECT_TRUE(moved);
        EXPECT_TRUE(std::equal(block.begin(), block.end(), script.data.begin() + 2000));
    });
}

TEST_F(Reading, AFailureOfAnOldPositionEndsNothing)
{
    FakeSoundDevice::instance().beginRun();
    run(with(noise(100)), [&] {
        char block[400];
        reader.SetBaseStreamEx(reader.currentStream());
        auto const outcome = reader.source().fill(reader, "Read", block, sizeof block);
        EXPECT_EQ(ResultEndOfStream, outcome.result);
        {
            boost::lock_guard<boost::recursive_mutex> lock(reader.decoderLock());
            reader.repositioned(); // a seek, before the play loop acts on the end
        }
        reader.source().interruptPlayback(reader, outcome.result);
        reader.source().interruptPlayback(reader, ErrorFailed);
        reader.source().putEofMark(reader);
        EXPECT_EQ(0, FakeSoundDevice::instance().marksPut);
        EXPECT_TRUE(reader.IsDecoding());
        EXPECT_EQ(0, reader.Read(block, sizeof block)); // at the new position it is one
        EXPECT_EQ(1, FakeSoundDevice::instance().marksPut);
    });
}
