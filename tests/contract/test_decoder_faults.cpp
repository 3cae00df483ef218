// Every decoder over every kind of bad stream.
#include "DecoderRun.h"
#include "DecodersUnderTest.h"
#include "LogCapture.h"
#include "LongDeadlines.h"

#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Avr::Decoder::Deadlines;
using Avr::Decoder::deadlines;
using Fault = Script::Fault;

namespace {

class Faults : public DecoderRun, public testing::WithParamInterface<DecoderUnderTest> {
protected:
    Faults()
    {
        deadlines().endPoll = std::chrono::milliseconds(1);
        deadlines().pacingPause = std::chrono::microseconds(0);
    }
    ~Faults() override { deadlines() = Deadlines(); }

    IDecoder& underTest() override { return *decoder; }
    void prepare() override { GetParam().prepare(); }

    /// One run; a stream that stays dry, or stalls, is closed by the player.
    void run(Script script)
    {
        bool const endless = script.fault == Fault::RetryForever || script.fault == Fault::Stall;
        auto const parseWait = deadlines().parseWait;
        if (endless)
            deadlines().parseWait = std::chrono::milliseconds(0);
        open(std::move(script));
        auto const patience = endless ? std::chrono::milliseconds(5) : std::chrono::hours(1);
        auto const deadline = std::chrono::steady_clock::now() + patience;
        while (callback.count(1) + callback.count(2) == 0 &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        decoder->Start();
        if (endless) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            decoder->Close();
            deadlines().parseWait = parseWait;
        }
        bool const again = GetParam().has(Trait::TriesTwice) && callback.events()[0] != 2;
        expectRuns(again ? 2 : 1);
    }
    Script sample() const
    {
        Script script;
        script.data = GetParam().sample;
        return script;
    }

    std::unique_ptr<IDecoder> decoder = GetParam().make();
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Decoders, Faults, testing::ValuesIn(decodersUnderTest()),
                         [](auto const& row) { return std::string(row.param.name); });

TEST_P(Faults, EveryWayOfReadingGivesTheSamePcm)
{
    run(sample());
    Bytes const expected = callback.pcm();
    ASSERT_FALSE(expected.empty());

    Script byteByByte = sample();
    byteByByte.longestRead = 1;
    Script slow = sample();
    slow.retryBeforeEach = true;
    Script endless = sample();
    endless.knowsLength = false;
    Script fixed = sample();
    fixed.capabilities = 0;
    Script both = byteByByte;
    both.retryBeforeEach = true;
    both.longestRead = 500;
    Script unbuffered = both; // by FLAC and Ogg Vorbis
    unbuffered.type = "other";
    Script network = both;
    network.type = "http:inet";
    for (Script const& script : {byteByByte, slow, endless, fixed, both, unbuffered, network}) {
        run(script);
        EXPECT_EQ(1, callback.count(6));
        EXPECT_TRUE(callback.pcm() == expected) << callback.pcm().size();
    }
}

TEST_P(Faults, AFaultAtEveryRead)
{
    setLongDeadlines();
    Script steps = sample();
    steps.longestRead = 6000;
    run(steps);
    int const reads = stream->reads();
    Bytes const whole = callback.pcm();
    ASSERT_GE(reads, 2);
    std::size_t const lastBytes = GetParam().has(Trait::FadesOut) ? 8192 : 0;
    for (Fault fault :
         {Fault::Error, Fault::End, Fault::Throw, Fault::RetryForever, Fault::Stall}) {
        for (int at = 0; at <= reads; ++at) {
            Script script = steps;
            script.fault = fault;
            script.faultAtRead = at;
            LogCapture log;
            run(script);
            Bytes const pcm = callback.pcm();
            if (!GetParam().has(Trait::Repeats)) {
                ASSERT_LE(pcm.size(), whole.size());
                std::size_t const same = pcm.size() - std::min(pcm.size(), lastBytes);
                EXPECT_TRUE(std::equal(pcm.begin(), pcm.begin() + long(same), whole.begin()))
                    << int(fault) << " at " << at;
            }
            EXPECT_FALSE(log.has("join timeouted"));
            bool const opened = callback.count(2) == 1;
            bool const failure = fault == Fault::Error || fault == Fault::Throw;
            if (failure && opened && !GetParam().has(Trait::TakesFaultsAsEnd)) {
                bool const unnoticed =
                    GetParam().has(Trait::ReadsNoFurther) ? pcm == whole : at >= reads;
                EXPECT_EQ(1, callback.count(unnoticed ? 6 : 0)) << at;
            }
            if (fault == Fault::End && opened) {
                EXPECT_EQ(1, callback.count(6)) << at;
            }
        }
    }
}

TEST_P(Faults, DataBeforeAnErrorIsDelivered)
{
    Script steps = sample();
    steps.longestRead = 10000;
    steps.fault = Fault::Error;
    steps.faultAtRead = 5;
    run(steps);
    // Five reads of 10000 bytes came; what a decoder holds back is less than two blocks.
    EXPECT_EQ(1, callback.count(2));
    EXPECT_GT(callback.pcm().size(), 10000u);
}
