#include "Deadlines.h"
#include "DecoderRun.h"
#include "FlacDecoder.h"
#include "FlacFile.h"
#include "LogCapture.h"

#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Events = std::vector<int>;

namespace {

class Flac : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    static Script file(FlacSpec const& spec)
    {
        Script script;
        script.data = flacFile(spec);
        return script;
    }
    std::string get(int property)
    {
        std::string value = "x";
        int const result = decoder.GetProperty(property, value);
        return result == Ok ? value : value + std::to_string(result);
    }

    FlacDecoder decoder;
};

/// A time that stands for a frame, safely within it.
TimeSpec timeOf(unsigned int frame, unsigned int rate)
{
    std::uint64_t const nanoseconds = (std::uint64_t(frame) * 1000000000 + 500000000) / rate;
    return {static_cast<std::uint32_t>(nanoseconds / 1000000000),
            static_cast<std::uint32_t>(nanoseconds % 1000000000)};
}

} // namespace

TEST_F(Flac, EveryWidthIsDeliveredBitForBit)
{
    for (unsigned int channels : {1u, 2u, 6u}) {
        for (unsigned int bits : {4u, 7u, 8u, 12u, 16u, 20u, 24u, 32u}) {
            FlacSpec spec;
            spec.channels = channels;
            spec.bits = bits;
            spec.frames = 9000;
            open(file(spec));
            play();
            EXPECT_EQ((Events{2, 4, 6, 1}), callback.events()) << bits;
            EXPECT_TRUE(flacPcm(spec) == callback.pcm()) << channels << " x " << bits;
            EXPECT_EQ(bits, callback.info().format.bitsPerSample);
            EXPECT_EQ(std::min(channels, 2u) * bits / 8, callback.info().format.blockAlign);
        }
    }
}

TEST_F(Flac, DescribesTheStream)
{
    FlacSpec spec;
    spec.rate = 96000;
    spec.bits = 24;
    open(file(spec));
    EXPECT_EQ(Ok, decoder.Start()); // too early: it answers the same, and nothing starts
    ASSERT_TRUE(callback.waitFor(2));
    DecoderStreamInfo const info = callback.info();
    EXPECT_EQ(96000u, info.format.samplesPerSecond);
    EXPECT_EQ(576000u, info.format.averageBytesPerSecond);
    EXPECT_EQ(24, info.format.validBitsPerSample);
    EXPECT_EQ(CodecFlac, info.codecId);
    EXPECT_EQ(0u, info.bitRate);
    EXPECT_EQ(0u, info.decoderWord);
    EXPECT_EQ("30464", get(DecoderPropTypeBase::SampleRate));
    EXPECT_EQ("24", get(DecoderPropTypeBase::BitsPerSample));
    EXPECT_EQ("2", get(DecoderPropTypeBase::Channels));
    EXPECT_EQ("FLAC", get(DecoderPropTypeBase::CodecName));
    for (int type : {3, 5, 6, 7, -1})
        EXPECT_EQ("-10002", get(type));
    EXPECT_EQ(ErrorNotSupported, decoder.Seek(1L));
    EXPECT_EQ(ErrorNotSupported, decoder.Seek(1.0));
    play();
    EXPECT_EQ(24576u, callback.blocks().front());
    EXPECT_EQ(20000u % 4096 * 6, callback.blocks().back());
    EXPECT_EQ(37666666u, callback.lastDuration().nanoseconds); // 3616 frames of 96000 a second
}

TEST_F(Flac, SeeksLandOnTheExactFrame)
{
    for (bool knowsTotal : {true, false}) {
        FlacSpec spec;
        spec.frames = 100000;
        spec.knowsTotal = knowsTotal;
        for (unsigned int frame : {0u, 1u, 4096u, 61234u, 99999u}) {
            openAndWait(file(spec));
            EXPECT_EQ(Ok, decoder.Seek(timeOf(frame, spec.rate)));
            EXPECT_EQ(1, callback.count(10));
            play();
            EXPECT_EQ((Events{2, 10, 4, 6, 1}), callback.events());
            EXPECT_TRUE(flacPcm(spec, frame) == callback.pcm()) << frame;
        }
    }
}

TEST_F(Flac, SeeksWithinBlocksPlayOnFromThere)
{
    FlacSpec spec;
    spec.frames = 60000;
    std::vector<unsigned int> const targets = {40000, 100, 59000, 50000};
    std::size_t next = 0;
    std::vector<int> results;
    callback.onSample = [&] {
        if (next < targets.size())
            results.push_back(decoder.Seek(timeOf(targets[next++], spec.rate)));
        return 0;
    };
    open(file(spec));
    play();
    EXPECT_EQ(std::vector<int>(4, Ok), results);
    Bytes const tail = flacPcm(spec, targets.back());
    Bytes const pcm = callback.pcm();
    ASSERT_GT(pcm.size(), tail.size());
    EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), pcm.rbegin()));
}

TEST_F(Flac, SeeksThatFailChangeNothing)
{
    FlacSpec spec;
    spec.frames = 60000;
    for (int way = 0; way < 4; ++way) {
        Script script = file(spec);
        script.type = way == 3 ? "http:inet" : "local";
        script.capabilities = way == 0 ? 0 : script.capabilities;
        script.seeksFail = way == 1;
        script.knowsLength = way != 3;
        callback.onSample = [&] {
            unsigned int const frame = way == 2 ? 60000 : 59000;
            if (callback.blocks().size() < 3) {
                EXPECT_EQ(ErrorNotSupported, decoder.Seek(timeOf(frame, spec.rate))) << way;
            }
            return 0;
        };
        open(script);
        play();
        EXPECT_EQ((Events{2, 4, 6, 1}), callback.events()) << way;
        EXPECT_TRUE(flacPcm(spec) == callback.pcm()) << way;
    }
    EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0})); // no run
}

TEST_F(Flac, EndsAreDefined)
{
    FlacSpec spec;
    Bytes const whole = flacFile(spec);
    Bytes const pcm = flacPcm(spec);

    Bytes tagged = whole;
    append(tagged, "TAG");
    tagged.resize(whole.size() + 128, ' ');
    open(tagged);
    play();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
    EXPECT_TRUE(pcm == callback.pcm());

    open(Bytes(whole.begin(), whole.end() - 100)); // the last frame is cut
    play();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
    ASSERT_EQ(std::size_t(20000) / 4096 * 4096 * 4, callback.pcm().size());

    FlacSpec mono;
    mono.channels = 1;
    mono.bits = 8;
    mono.rate = 8000;
    Bytes joined = whole; // frames are delivered by their own headers
    append(joined, flacFile(mono));
    open(joined);
    play();
    EXPECT_EQ(1, callback.events().back());
    Bytes const played = callback.pcm();
    ASSERT_GE(played.size(), pcm.size());
    EXPECT_TRUE(std::equal(pcm.begin(), pcm.end(), played.begin()));

    Bytes damaged = whole;
    damaged[whole.size() / 2] ^= 0x10;
    open(damaged);
    play();
    EXPECT_EQ((Events{2, 4, 0, 1}), callback.events());
    EXPECT_LT(callback.pcm().size(), pcm.size());

    callback.onSample = [] { return -5; };
    open(whole);
    play();
    EXPECT_EQ((Events{2, 4, 0, 1}), callback.events());
    EXPECT_EQ(1u, callback.blocks().size());
}

TEST_F(Flac, WhatIsNoFlacFailsToOpen)
{
    Bytes const whole = flacFile(FlacSpec());
    Bytes behindGarbage = noise(5000);
    append(behindGarbage, whole);
    Bytes undescribed(whole.begin(), whole.begin() + 4);
    undescribed.insert(undescribed.end(), {0x81, 0, 0, 4, 0, 0, 0, 0}); // padding alone
    undescribed.insert(undescribed.end(), whole.begin() + 100, whole.end());
    for (Bytes const& data : {Bytes(), noise(100000), behindGarbage, undescribed,
                              Bytes(whole.begin(), whole.begin() + 30)}) {
        open(data);
        expectOneRun();
        EXPECT_EQ((Events{11, 1}), callback.events()) << data.size();
    }
    Script failing;
    failing.data = whole;
    failing.fault = Script::Fault::Error;
    failing.faultAtRead = 0;
    failing.type = "other";
    open(failing);
    expectOneRun();
    EXPECT_EQ((Events{12, 1}), callback.events());
}

TEST_F(Flac, LargeFramesAreDeliveredWhole)
{
    FlacSpec spec;
    spec.bits = 32;
    spec.frames = 150000;
    for (unsigned int blockSize : {8192u, 65535u}) {
        spec.blockSize = blockSize;
        LogCapture log;
        Script script = file(spec);
        script.type = "http:inet";
        script.longestRead = 20000;
        script.retryBeforeEach = true; // runs dry within frames, also beyond what can be read again
        open(script);
        play();
        EXPECT_TRUE(flacPcm(spec) == callback.pcm());
        EXPECT_TRUE(log.has("[::flac_write_cb] WARNING! buffer over flow.  " +
                            std::to_string(blockSize * 8) + " > 40960\n"));
    }
}

TEST_F(Flac, ReportsTheFillInTensWhileItWaits)
{
    FlacSpec spec;
    spec.frames = 60000;
    spec.bits = 24;
    Script script = file(spec);
    script.longestRead = 4000;
    script.retryBeforeEach = true;
    for (const char* type : {"http:inet", "local"}) {
        script.type = type;
        LogCapture log;
        open(script);
        play();
        bool const reports = script.type == std::string("http:inet");
        EXPECT_EQ(reports, !callback.fills().empty());
        EXPECT_EQ(reports, log.has("[bufferCallback] buffer status "));
        EXPECT_EQ(!reports, log.has(": stream type is local\n"));
        for (int fill : callback.fills())
            EXPECT_EQ(0, fill % 10);
    }
}

/// Dry within a frame, with the player's own lock held in OnEvent and around Seek.
TEST_F(Flac, ASeekGoesOnWhereTheStreamRanDry)
{
    FlacSpec spec;
    spec.frames = 400000;
    spec.bits = 24;
    Script script = file(spec);
    script.type = "http:inet";
    script.longestRead = 90000;
    script.retriesFrom = 150000; // until it is positioned
    std::thread seeker;
    callback.onEvent = [&](int event) {
        if (event != EventBufferStatus || callback.pcm().empty() || seeker.joinable())
            return;
        seeker = std::thread([&] { EXPECT_EQ(Ok, decoder.Seek(timeOf(300000, spec.rate))); });
        seeker.join();
        seeker = std::thread([] {});
    };
    open(script);
    play();
    seeker.join();
    EXPECT_EQ((Events{2, 4, 10, 6, 1}), callback.events());
    Bytes const tail = flacPcm(spec, 300000);
    Bytes const pcm = callback.pcm();
    ASSERT_GT(pcm.size(), tail.size());
    EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), pcm.rbegin()));
}

TEST_F(Flac, AWaitEndsTheRunOnlyWhileNothingComesAndNothingPauses)
{
    Avr::Decoder::deadlines().libraryWait = std::chrono::milliseconds(600);
    FlacSpec spec;
    spec.frames = 30000;
    Script script = file(spec);
    ASSERT_GT(script.data.size(), 71000u);
    script.type = "http:inet";
    script.longestRead = 300;
    script.retryBeforeEach = true;
    open(script); // the wait for the first 64000 bytes is longer than its limit, but they come
    play();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());

    script.retryBeforeEach = false;
    script.longestRead = 30000;
    script.retriesFrom = 70000;
    open(script);
    play();
    EXPECT_EQ((Events{2, 4, 0, 1}), callback.events());
    Avr::Decoder::deadlines() = Avr::Decoder::Deadlines();

    std::size_t const blocks = callback.blocks().size();
    std::atomic<bool> isLast{false};
    callback.onSample = [&] { return isLast = callback.blocks().size() >= blocks, 0; };
    openAndWait(script);
    decoder.Start();
    while (!isLast)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // mostly it waits by now
    decoder.Pause();
    EXPECT_TRUE(callback.waitFor(EventPaused));
    EXPECT_EQ(0, callback.count(0));
    decoder.Close();
}
