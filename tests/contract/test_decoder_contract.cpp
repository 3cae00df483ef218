// What every decoder keeps to, whatever its format.
#include "BuildKind.h"
#include "DecoderRun.h"
#include "DecodersUnderTest.h"
#include "LogCapture.h"
#include "LongDeadlines.h"

#include <random>
#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Events = std::vector<int>;

namespace {

class Contract : public DecoderRun, public testing::WithParamInterface<DecoderUnderTest> {
protected:
    ~Contract() override { Avr::Decoder::deadlines() = Avr::Decoder::Deadlines(); }

    IDecoder& underTest() override { return *decoder; }
    void prepare() override { GetParam().prepare(); }

    Script sample() const
    {
        Script script;
        script.data = GetParam().sample;
        return script;
    }
    void playToTheEnd()
    {
        open(sample());
        play();
    }

    std::unique_ptr<IDecoder> decoder = GetParam().make();
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Decoders, Contract, testing::ValuesIn(decodersUnderTest()),
                         [](auto const& row) { return std::string(row.param.name); });

TEST_P(Contract, PlaysTrackAfterTrack)
{
    Bytes first;
    for (int track = 0; track < 3; ++track) {
        playToTheEnd();
        EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
        if (track == 0)
            first = callback.pcm();
        EXPECT_FALSE(first.empty());
        EXPECT_EQ(first, callback.pcm());
        tWAVEFORMAT const format = callback.info().format;
        EXPECT_EQ(1, format.formatTag);
        EXPECT_GT(format.samplesPerSecond, 0u);
        EXPECT_EQ(format.channels * format.bitsPerSample, 8 * format.blockAlign);
        EXPECT_EQ(format.samplesPerSecond * format.blockAlign, format.averageBytesPerSecond);
    }
}

TEST_P(Contract, CloseInEveryState)
{
    EXPECT_EQ(GetParam().has(Trait::TriesTwice) ? ErrorFailed : Ok, decoder->Close());
    callback.onSample = [] { return std::this_thread::yield(), 0; };
    for (int event : {0, 2, 4, 5}) {
        open(sample());
        if (event >= 2) {
            ASSERT_TRUE(callback.waitFor(2));
        }
        if (event >= 4) {
            decoder->Start();
            ASSERT_TRUE(callback.waitFor(4));
        }
        if (event == 5)
            decoder->Pause();
        EXPECT_EQ(Ok, decoder->Close());
        EXPECT_EQ(Ok, decoder->Close());
        expectOneRun();
        EXPECT_EQ(0, callback.count(0)) << event;
    }
}

TEST_P(Contract, PausedAndResumedItPlaysTheSame)
{
    playToTheEnd();
    Bytes const expected = callback.pcm();
    std::atomic<int> blocks{0};
    callback.onSample = [&] {
        if (++blocks % 4 == 1)
            decoder->Pause();
        return 0;
    };
    callback.onEvent = [&](int event) {
        if (event == 5)
            decoder->Resume();
    };
    playToTheEnd();
    EXPECT_EQ(expected, callback.pcm());
    EXPECT_EQ(GetParam().has(Trait::IgnoresPauses), callback.count(5) == 0);
    EXPECT_EQ(callback.count(5) + 1, callback.count(4));
}

TEST_P(Contract, GarbageAndEmptyInputFailOrEndQuietly)
{
    for (std::size_t size : {0u, 1u, 100u, 5000u}) {
        open(noise(size, 99));
        if (GetParam().has(Trait::TakesAnything)) {
            play();
            EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
        } else {
            bool const twice = GetParam().has(Trait::TriesTwice);
            expectRuns(twice ? 2 : 1);
            EXPECT_EQ(twice ? (Events{11, 1, 11, 1}) : (Events{11, 1}), callback.events());
        }
    }
}

TEST_P(Contract, NullStreamAndNullCallback)
{
    EXPECT_EQ(ErrorFailed, decoder->Open(nullptr, &callback));
    EXPECT_TRUE(callback.events().empty());
    FakeSoundDevice::instance().beginRun();
    stream = scripted(sample());
    prepare();
    ASSERT_EQ(Ok, decoder->Open(stream, nullptr));
    while (stream->closes() == 0) {
        decoder->Start();
        std::this_thread::yield();
    }
    decoder->Close();
    // What is small is read at once, but only its end has a mark.
    bool const played = stream->reads() > 7 || FakeSoundDevice::instance().marksPut > 0;
    EXPECT_EQ(GetParam().has(Trait::PlaysWithoutCallback), played) << stream->reads();
}

TEST_P(Contract, ARefusedBlockEndsTheRunWithoutAMark)
{
    callback.onSample = [] { return -5; };
    playToTheEnd();
    if (GetParam().has(Trait::IgnoresRefusals)) {
        EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
        EXPECT_GT(callback.blocks().size(), 2u);
        return;
    }
    bool const ends = GetParam().has(Trait::EndsWhenRefused);
    EXPECT_EQ((Events{2, 4, ends ? 6 : 0, 1}), callback.events());
    EXPECT_EQ(ends ? 2u : 1u, callback.blocks().size());
    EXPECT_EQ(0, FakeSoundDevice::instance().marksPut);
}

TEST_P(Contract, CloseEndsTheWaitForADeviceThatNeverCompletes)
{
    openAndWait(sample());
    FakeSoundDevice::instance().completes = false;
    decoder->Start();
    while (FakeSoundDevice::instance().marksPut + callback.count(1) == 0)
        std::this_thread::yield();
    decoder->Close();
    EXPECT_EQ(0, callback.count(0));
    expectOneRun();
}

TEST_P(Contract, AnswersPropertiesInEveryState)
{
    bool inRun = false;
    auto const ask = [&] {
        std::string text = "kept?";
        if (GetParam().has(Trait::DescribesOnlyRuns) && !inRun) {
            EXPECT_EQ(ErrorFailed, decoder->GetProperty(DecoderPropTypeBase::CodecName, text));
            EXPECT_EQ("", text);
            return;
        }
        for (int type : {3, 5, 7, -1}) {
            EXPECT_EQ(ErrorFailed, decoder->GetProperty(type, text));
            EXPECT_EQ("", text);
        }
        EXPECT_EQ(Ok, decoder->GetProperty(DecoderPropTypeBase::CodecName, text));
        EXPECT_FALSE(text.empty());
        tWAVEFORMAT format;
        EXPECT_EQ(GetParam().has(Trait::TellsNoState) ? ErrorFailed : Ok,
                  decoder->GetWaveFormat(format));
    };
    if (!GetParam().has(Trait::TriesTwice)) // there is nobody yet to answer
        ask();
    callback.onEvent = [&](int event) {
        inRun = event != EventClosed;
        ask();
    };
    callback.onSample = [&] { return ask(), 0; };
    playToTheEnd();
    ask();
}

TEST_P(Contract, CloseAtAThousandRandomMoments)
{
    setLongDeadlines();
    LogCapture log;
    std::mt19937 random(7);
    int const rounds = Emulated ? 100 : Sanitized ? 300 : 1000;
    for (int round = 0; round < rounds; ++round) {
        Script script = sample();
        script.longestRead = round % 3 == 0 ? 500 : 0;
        script.retryBeforeEach = round % 20 == 0;
        open(script);
        std::thread player([&] {
            while (callback.count(1) + callback.count(2) == 0)
                std::this_thread::yield();
            decoder->Start();
        });
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        decoder->Close();
        player.join();
        decoder->Close();
        expectOneRun();
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_FALSE(log.has("join timeouted"));
}

TEST_P(Contract, SeeksWhilePlayingKeepEverythingInOrder)
{
    callback.onSample = [] { return std::this_thread::yield(), 0; };
    Script script = sample();
    script.longestRead = 300;
    openAndWait(script);
    std::thread player([&] {
        for (std::uint32_t i = 0; callback.count(1) == 0; ++i) {
            TimeSpec const where{0, i * 7919 % 300000000};
            int const result = decoder->Seek(where);
            EXPECT_TRUE(result == Ok || result == ErrorFailed || result == ErrorNotSupported);
            if (i == 200)
                decoder->Close();
        }
    });
    decoder->Start();
    player.join();
    decoder->Close();
    expectOneRun();
}
