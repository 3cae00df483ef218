// What the decoders make of a codec's results.
#include "../codecs/ScriptedRun.h"
#include "FakeBufferStream.h"
#include "ScriptedWma.h"
#include "VWmaDecoder.h"
#include "WMALosslessDecoder.h"
#include "WMAStdDecoder.h"
#include "WmaSelector.h"

#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Step = ScriptedWma::Step;
using Steps = std::vector<Step>;
using Sizes = std::vector<unsigned int>;

namespace {

template <class Decoder>
class WmaScript : public ScriptedRun {
protected:
    WmaScript() { script = ScriptedWma(); }

    IDecoder& underTest() override { return decoder; }

    void begin(Steps standard, Steps lossless)
    {
        decoder.Close();
        script.standard.steps = std::move(standard);
        script.lossless.steps = std::move(lossless);
        script.standard.decodes = script.lossless.decodes = 0;
        script.frame = 0;
        script.counts.clear();
        open(noise(10));
    }
    /// The samples of the left channel.
    std::vector<int> frames() const
    {
        std::vector<int> all;
        Bytes const pcm = callback.pcm();
        for (std::size_t at = 0; at + 4 <= pcm.size(); at += 4)
            all.push_back(pcm[at] | pcm[at + 1] << 8);
        return all;
    }
    static std::vector<int> counted(int from, int to)
    {
        std::vector<int> all;
        while (from < to)
            all.push_back(from++);
        return all;
    }
    Sizes framesOfBlocks() const
    {
        Sizes sizes = callback.blocks();
        for (unsigned int& size : sizes)
            size /= 4;
        return sizes;
    }

    ScriptedWma& script = ScriptedWma::instance();
    Decoder decoder;
};

class StreamStandard : public WmaScript<VWmaDecoder> {
protected:
    void run(Steps steps, std::vector<int> const& events)
    {
        begin(std::move(steps), {});
        expectEvents(events);
    }
};

class StreamLossless : public WmaScript<VWmaDecoder> {
protected:
    StreamLossless() { script.standard.begun = 3; }
    void run(Steps steps, std::vector<int> const& events)
    {
        begin({}, std::move(steps));
        expectEvents(events);
    }
};

class InnerStandard : public WmaScript<WMAStdDecoder> {
protected:
    void run(Steps steps, std::vector<int> const& events)
    {
        begin(std::move(steps), {});
        expectEvents(events);
    }
};

class InnerLossless : public WmaScript<WMALosslessDecoder> {
protected:
    void run(Steps steps, std::vector<int> const& events)
    {
        begin({}, std::move(steps));
        expectEvents(events);
    }
};

/// The bands of WMAL_decode's results.
struct {
    int result;
    const char* line;
    bool ends;
} const Bands[] = {
    {7, "", false},
    {-1, "WMAL:: Error in decoding =-1\n", true},
    {-128, "WMAL:: Error in decoding =-128\n", true},
    {-129, "WMAL:: Parser error = -129\n", false},
    {-255, "WMAL:: Parser error = -255\n", false},
    {-256, "WMAL:: Parser error = -256\n", true},
    {-70000, "WMAL:: Parser error = -70000\n", true},
};

} // namespace

TEST_F(StreamStandard, BlocksOf1024AreDeliveredAndTheLastOnesWait)
{
    std::vector<std::size_t> delivered;
    auto const note = [&] { delivered.push_back(callback.blocks().size()); };
    Steps steps(4, Step{2048, 0, {}, note});
    steps.push_back({0, 0, {}, note});
    run(steps, PlayedToTheEnd);
    EXPECT_EQ((std::vector<std::size_t>{0, 1, 3, 5, 7}), delivered);
    EXPECT_EQ(Sizes(7, 1024), framesOfBlocks());
    EXPECT_EQ(counted(0, 7 * 1024), frames()) << "the last 1024 are not delivered";
    EXPECT_EQ(0u, callback.lastDuration().seconds);
    EXPECT_EQ(23219954u, callback.lastDuration().nanoseconds);
    EXPECT_EQ(1, FakeSoundDevice::instance().marksPut);

    delivered.clear();
    steps.clear();
    for (int samples : {100, 924, 1, 2048, 0, 2047})
        steps.push_back({samples, 0, {}, note});
    run(steps, PlayedToTheEnd);
    EXPECT_EQ((std::vector<std::size_t>{0, 0, 0, 1, 3, 3}), delivered);
    EXPECT_EQ(counted(0, 4 * 1024), frames()) << "all but 1024";
}

TEST_F(StreamStandard, AStopDeliversWhatWaits)
{
    std::thread closer;
    auto const closeElsewhere = [&] {
        closer = std::thread([this] { decoder.Close(); });
        while (stream->closes() == 0)
            std::this_thread::yield();
    };
    begin({Step{1500}, Step{0, 0, {}, closeElsewhere}, Step{2048}}, {});
    play();
    closer.join();
    EXPECT_EQ((std::vector<int>{2, 4, 1}), callback.events());
    EXPECT_EQ(counted(0, 1500), frames());
    EXPECT_EQ((Sizes{1024, 476}), framesOfBlocks());
    EXPECT_EQ(10793650u, callback.lastDuration().nanoseconds);
    EXPECT_EQ(2u, script.standard.decodes);

    LogCapture log(STDOUT_FILENO); // inside a callback nothing more comes
    callback.onSample = [this] { return decoder.Close(); };
    run({Step{1500}, Step{2048}}, {2, 4, 1});
    EXPECT_EQ(counted(0, 1024), frames());
    EXPECT_TRUE(log.has("Decoded End\n"));
}

TEST_F(StreamStandard, ASeekLetsTheOldFramesOut)
{
    bool sought = false;
    callback.onSample = [&] {
        if (!std::exchange(sought, true)) {
            EXPECT_EQ(Ok, decoder.Seek(1234L));
        }
        return 0;
    };
    run({Step{1500}, Step{1000}, Step{600}}, PlayedToTheEnd);
    EXPECT_EQ((std::vector<unsigned int>{1234}), script.standard.targets);
    EXPECT_EQ(counted(0, 3072), frames()) << "476 of the old position among them";
}

TEST_F(StreamStandard, AFailureEndsTheRun)
{
    LogCapture log;
    run({Step{2048}, Step{5, -3}, Step{2048}}, Failed);
    EXPECT_EQ(counted(0, 1024), frames());
    run({Step{4}, Step{0, 5}}, PlayedToTheEnd);
    EXPECT_EQ("WMA_decode:: Got -3 while decoding\n[playThreadStd] no more flame\n",
              linesWith({"WMA_", "flame"}, log));
}

TEST_F(StreamLossless, TheBandsOfResults)
{
    for (auto const& band : Bands) {
        LogCapture log;
        auto const begun = [this] { script.lossless.resets = 0; };
        run({Step{10, 0, {}, begun}, Step{300, band.result}, Step{20}},
            band.ends ? Failed : PlayedToTheEnd);
        EXPECT_EQ(band.ends ? (Sizes{10}) : (Sizes{10, 300, 20}), framesOfBlocks()) << band.result;
        EXPECT_EQ(band.line, linesWith({"WMAL"}, log));
        EXPECT_EQ(band.result == -129 || band.result == -255, script.lossless.resets == 1);
        EXPECT_EQ(!band.ends, log.has("[playThreadLL] no more flame\n"));
    }
}

TEST_F(StreamLossless, AFrameComesInBlocksOf4096)
{
    run({Step{9000}, Step{4096}}, PlayedToTheEnd);
    EXPECT_EQ((Sizes{4096, 4096, 808, 4096}), framesOfBlocks());
    EXPECT_EQ(counted(0, 13096), frames());

    // Whatever was fetched, the block is of the size that was asked for.
    run({Step{5000, 0, {4000}}, Step{100, 0, {60, 0}}, Step{100, 0, {200}}}, PlayedToTheEnd);
    EXPECT_EQ((std::vector<short>{4096, 1000, 100, 40, 100}), script.counts);
    EXPECT_EQ((Sizes{4096, 1000, 100, 100}), framesOfBlocks());

    LogCapture log;
    run({Step{5000, 0, {4096, -9}}, Step{1}}, Failed);
    EXPECT_EQ((Sizes{4096}), framesOfBlocks());
    EXPECT_TRUE(log.has("WMAL error = %d, error < -256 => parser error =-9\n"));
    callback.onSample = [] { return -1; };
    run({Step{5000}, Step{1}}, Failed);
    EXPECT_EQ((Sizes{4096}), framesOfBlocks());
    EXPECT_TRUE(log.has("On Sample Error!!\n\n"));
}

TEST_F(InnerStandard, DeliversEachFrameAsItIs)
{
    EXPECT_EQ(ErrorFailed, WMAStdDecoder().PlayCom()) << "nothing is open";
    EXPECT_EQ(ErrorFailed, WMALosslessDecoder().PlayCom());
    LogCapture log(STDOUT_FILENO);
    run({Step{0}, Step{2048}, Step{0}, Step{0}, Step{7}}, PlayedToTheEnd);
    EXPECT_EQ((Sizes{2048, 7}), framesOfBlocks());
    EXPECT_EQ(counted(0, 2055), frames());
    EXPECT_EQ(158730u, callback.lastDuration().nanoseconds);
    EXPECT_EQ(0, FakeSoundDevice::instance().marksPut);
    callback.onSample = [] { return -1; }; // which counts for nothing
    run({Step{2048}, Step{9, -4}, Step{1}}, Failed);
    EXPECT_EQ((Sizes{2048}), framesOfBlocks());
    EXPECT_EQ(46439909u, callback.lastDuration().nanoseconds);
    EXPECT_EQ("no more flame\nWMA_FILE:: Got -4 while decoding\n",
              linesWith({"Got", "flame"}, log));
}

TEST_F(InnerLossless, TheBandsOfResults)
{
    for (auto const& band : Bands) {
        LogCapture out(STDOUT_FILENO), err;
        auto const begun = [this] { script.lossless.resets = 0; };
        run({Step{10, 0, {}, begun}, Step{300, band.result}, Step{20}},
            band.ends ? Failed : PlayedToTheEnd);
        EXPECT_EQ(band.ends ? (Sizes{10}) : (Sizes{10, 256, 44, 20}), framesOfBlocks());
        EXPECT_EQ(band.line, linesWith({"WMAL:: E"}, err) + linesWith({"WMAL:: P"}, out));
        EXPECT_EQ(band.result == -129 || band.result == -255, script.lossless.resets == 1);
        EXPECT_EQ(!band.ends, err.has("NO MORE FLAMES\n"));
    }
}

TEST_F(InnerLossless, AFrameIsFetchedInPiecesOf256)
{
    run({Step{600}, Step{0}, Step{300, 0, {100}}, Step{300, 0, {0}}, Step{5, 0, {77}}},
        PlayedToTheEnd);
    EXPECT_EQ((std::vector<short>{256, 256, 88, 256, 200, 256, 5}), script.counts);
    EXPECT_EQ((Sizes{256, 256, 88, 256, 200, 5}), framesOfBlocks());

    LogCapture log;
    run({Step{600, 0, {256, -9}}, Step{1}}, Failed);
    EXPECT_EQ((Sizes{256}), framesOfBlocks());
    EXPECT_TRUE(log.has("WMAL error = %d, error < -256 => parser error =-9\n"));
    callback.onSample = [] { return -1; }; // drops the rest of a frame
    run({Step{600}, Step{5}}, PlayedToTheEnd);
    EXPECT_EQ((Sizes{256, 5}), framesOfBlocks());
    EXPECT_TRUE(log.has("On Sample Error!!\n\nOn Sample Error!!\n\n"));
}
