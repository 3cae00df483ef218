#include "DecoderRun.h"
#include "LogCapture.h"
#include "Mp3Frame.h"
#include "Mp3Stream.h"
#include "TestData.h"
#include "VMP3Decoder.h"

#include <cstring>
#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Events = std::vector<int>;

namespace {

class Mp3 : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    Bytes playedOf(Bytes data)
    {
        open(std::move(data));
        play();
        EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
        return callback.pcm();
    }

    VMP3Decoder decoder;
    Bytes const stereo = testData("cbr.mp3");
};

/// Where the first frame behind `from` begins.
std::size_t frameBehind(Bytes const& mp3, std::size_t from)
{
    std::size_t at = 0;
    while (at < from)
        at += avr::host::parseMp3Header(&mp3[at])->bytes;
    return at;
}

Bytes bytesOf(Mp3Stream::Pcm const& pcm)
{
    Bytes bytes(pcm.size() * sizeof pcm[0]);
    std::memcpy(bytes.data(), pcm.data(), bytes.size());
    return bytes;
}

Mp3Stream::Pcm samplesOf(Bytes const& bytes)
{
    Mp3Stream::Pcm pcm(bytes.size() / sizeof pcm[0]);
    std::memcpy(pcm.data(), bytes.data(), bytes.size());
    return pcm;
}

} // namespace

TEST_F(Mp3, EveryFrameIsPlayedWhateverStandsAroundThem)
{
    for (const char* name : {"cbr.mp3", "vbr.mp3", "mono.mp3", "mpeg25.mp3"}) {
        Bytes const mp3 = testData(name);
        std::size_t const middle = frameBehind(mp3, 1400);
        Bytes const begin = head(mp3, middle), end = tail(mp3, middle);
        Mp3Stream codec(mp3);
        Bytes const pcm = bytesOf(codec.play());
        unsigned int const granule = 576u * codec.info.channels * 4;
        for (Bytes const& file : {mp3, joined({id3v2(5000), mp3, apeTag(70, 70), id3v1}),
                                  joined({id3v2(300000), id3v2(0), id3v2(70000), Bytes(3000), mp3}),
                                  joined({id3v2(0), begin, id3v2(300000), id3v2(0), end}),
                                  joined({begin, apeTag(200, 200), end, apeTag(0, 0xFFFFFFFF)})}) {
            EXPECT_TRUE(pcm == playedOf(file)) << name << callback.pcm().size();
            EXPECT_EQ(std::vector<unsigned int>(pcm.size() / granule, granule), callback.blocks());
        }
        EXPECT_EQ(576 * 1000000000ull / codec.info.samplingRate,
                  callback.lastDuration().nanoseconds);
    }
}

TEST_F(Mp3, ATagThatClaimsTooMuchEndsThere)
{
    Bytes const huge = {'I', 'D', '3', 4, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F}; // 256 MiB
    Bytes const ape = apeTag(0, 0xFFFFFFFF);
    std::size_t const whole = playedOf(stereo).size();
    std::size_t const at = frameBehind(stereo, 4000);
    for (Bytes const& tag : {huge, ape}) {
        std::size_t const part = playedOf(joined({head(stereo, at), tag, tail(stereo, at)})).size();
        EXPECT_GT(part, whole / 4);
        EXPECT_LT(part, whole);
    }
    for (Bytes const& start : {huge, joined({id3v2(9), huge}), joined({id3v2(9), id3v2(300000)})}) {
        open(joined({start, stereo}));
        expectOneRun();
        EXPECT_EQ((Events{11, 1}), callback.events());
    }
}

TEST_F(Mp3, DescribesTheStream)
{
    LogCapture log;
    Script script;
    script.data = joined({id3v2(70), stereo});
    openAndWait(script);
    DecoderStreamInfo const info = callback.info();
    EXPECT_EQ(2, info.format.channels);
    EXPECT_EQ(44100u, info.format.samplesPerSecond);
    EXPECT_EQ(352800u, info.format.averageBytesPerSecond);
    EXPECT_EQ(8, info.format.blockAlign);
    EXPECT_EQ(32, info.format.bitsPerSample);
    EXPECT_EQ(16, info.format.validBitsPerSample);
    EXPECT_EQ(CodecMp3, info.codecId);
    EXPECT_EQ(64000u, info.bitRate);
    EXPECT_EQ(stereo.size() / 8000 * 1000, info.decoderWord); // the tag does not count
    EXPECT_TRUE(log.has("[VMP3Decoder::openHook] called\n"
                        "[VMP3Decoder::openHook] duration = 1000\n"
                        "[VMP3Decoder::openHook] finished\n"));
    std::string text;
    EXPECT_EQ(ErrorFailed, decoder.SetProperty(0, text));
    EXPECT_EQ(Ok, decoder.GetProperty(DecoderPropTypeBase::CodecName, text));
    EXPECT_EQ("mp3", text);
    EXPECT_EQ(Ok, decoder.GetProperty(DecoderPropTypeBase::BitRate, text));
    EXPECT_EQ("2822400", text);
}

TEST_F(Mp3, SaysWhyAStreamCannotBePlayed)
{
    Bytes cutTag = id3v2(70);
    cutTag.resize(50);
    struct {
        Bytes data;
        const char* line;
    } const cases[] = {
        {Bytes(9), "[VMP3Decoder::openHook] called\n"},
        {id3v2(70), "VMP3_sfile:: couldn't decode, "},
        {cutTag, "[VMP3Decoder::openHook] called\n"},
        {joined({Bytes(300000), stereo}),
         "[VMP3Decoder::skipID3V2Tag] No ID3v2 tag, backup red 10byte\n"
         "[VMP3Decoder::Read] read limit 26"},
        {joined({Bytes(300000), stereo}), "VMP3_sfile:: over limit\n"},
    };
    for (auto const& each : cases)
        expectRefused(each.data, each.line);
}

TEST_F(Mp3, SeeksByTheBitRateAndAlwaysSaysYes)
{
    Bytes const pcm = playedOf(stereo);
    for (bool seekable : {true, false}) {
        Script script;
        script.data = stereo;
        script.capabilities = seekable ? script.capabilities : 0;
        openAndWait(script);
        LogCapture log;
        EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 500000000}));
        EXPECT_TRUE(log.has("[VMP3Decoder::Seek] offset = 4000\n"));
        EXPECT_EQ(1, callback.count(10));
        EXPECT_EQ(ErrorFailed, decoder.Seek(0.5));
        EXPECT_EQ(ErrorFailed, decoder.Seek(-1L));
        EXPECT_EQ(Ok, decoder.Seek(900L));
        EXPECT_TRUE(log.has("[VMP3Decoder::Seek] offset = 7200\n"));
        play();
        EXPECT_EQ(1, callback.count(6));
        EXPECT_LE(callback.pcm().size(), pcm.size());
        EXPECT_GT(callback.pcm().size(), 0u);
    }
    EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0})); // no run
}

TEST_F(Mp3, BehindASeekNoMoreThanAFrameIsWrong)
{
    Mp3Stream::Pcm const pcm = samplesOf(playedOf(stereo));
    double const little = *std::max_element(pcm.begin(), pcm.end()) / 50.0;
    constexpr std::size_t Granule = 1152, before = 11 * Granule;
    std::vector<std::uint32_t> places;
    for (std::uint32_t byte = 0; byte < stereo.size() - 500; byte += 331)
        places.push_back(byte);
    for (std::uint32_t byte = 0; byte < stereo.size() - 500; // where frames begin, too
         byte += avr::host::parseMp3Header(&stereo[byte])->bytes)
        places.push_back(byte);
    for (std::uint32_t byte : places) {
        callback.onSample = [&, blocks = 0]() mutable {
            TimeSpec const time{byte / 8000, byte % 8000 * 125000 + 50};
            return ++blocks == 11 ? decoder.Seek(time) : 0; // after half a frame
        };
        open(stereo);
        play();
        Mp3Stream::Pcm const all = samplesOf(callback.pcm());
        ASSERT_LT(before, all.size()) << byte;
        std::size_t const count = all.size() - before;
        ASSERT_LE(count, pcm.size()) << byte;
        int wrong = 0;
        for (std::size_t at = 0; at < count; at += Granule) {
            double loudest = 0, worst = 0;
            for (std::size_t i = at; i < at + Granule; ++i) {
                double const sample = all[before + i];
                loudest = std::max(loudest, std::abs(sample));
                worst = std::max(worst, std::abs(sample - pcm[pcm.size() - count + i]));
            }
            wrong += loudest > little && worst > little; // silence is no noise
        }
        EXPECT_LE(wrong, 2) << byte;
    }
}

TEST_F(Mp3, ATagThatWasBeingSkippedIsLeftByASeek)
{
    Bytes const pcm = playedOf(stereo);
    Script script;
    script.data = joined({stereo, id3v2(600000)});
    script.retriesFrom = stereo.size() + 300000; // for good, where a seek stays within the buffer
    openAndWait(script);
    decoder.Start();
    while (callback.pcm().size() < pcm.size())
        std::this_thread::yield();
    EXPECT_EQ(Ok, decoder.Seek(0L)); // the codec is within the tag, or about to be
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    auto const playedAgain = [&] { return callback.pcm().size() > 2 * pcm.size() - 16 * 9216; };
    while (!playedAgain() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_TRUE(playedAgain());
}

TEST_F(Mp3, ASeekFromTheEndPlaysOn)
{
    Bytes const pcm = playedOf(stereo);
    auto& device = FakeSoundDevice::instance();
    open(stereo);
    device.completes = false;
    ASSERT_TRUE(callback.waitFor(2));
    callback.onEvent = [&](int event) {
        if (event == EventPosition) { // as a player does
            device.putEofMark(false);
            device.completes = true;
        }
    };
    decoder.Start();
    while (device.marksPut == 0)
        std::this_thread::yield();
    EXPECT_EQ(Ok, decoder.Seek(0L));
    expectOneRun();
    EXPECT_EQ((Events{2, 4, 10, 6, 1}), callback.events());
    EXPECT_GE(callback.pcm().size(), 2 * pcm.size() - 4 * 9216);
}
