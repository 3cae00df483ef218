#include "HandleTable.h"
#include "Mp3Frame.h"
#include "Mp3Stream.h"
#include "PcmWords.h"
#include "Samples.h"
#include "TestData.h"

#include <cmath>

extern "C" {
#include <libavcodec/avcodec.h>
}

using namespace avr::host;
using namespace avr::test;
using Pcm = Mp3Stream::Pcm;

namespace {

std::int32_t toWord(float x)
{
    if (std::isnan(x))
        return 0;
    return x >= 1 ? INT32_MAX : x <= -1 ? INT32_MIN : std::int32_t(x * 2147483648.0f);
}

/// Where the frames begin; the last entry is the end.
std::vector<std::size_t> frameStarts(Bytes const& file)
{
    std::vector<std::size_t> starts = {0};
    while (starts.back() < file.size())
        starts.push_back(starts.back() + parseMp3Header(&file[starts.back()])->bytes);
    return starts;
}

/// What FFmpeg makes of the frames from `first` on.
Pcm reference(Bytes const& file, std::size_t first)
{
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder_by_name("mp3float"));
    EXPECT_EQ(0, avcodec_open2(context, nullptr, nullptr));
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    Pcm pcm;
    std::vector<std::size_t> const starts = frameStarts(file);
    for (std::size_t i = first; i + 1 < starts.size(); ++i) {
        av_new_packet(packet, int(starts[i + 1] - starts[i]));
        std::copy_n(&file[starts[i]], packet->size, packet->data);
        EXPECT_EQ(0, avcodec_send_packet(context, packet));
        EXPECT_EQ(0, avcodec_receive_frame(context, frame));
        for (int n = 0; n < frame->nb_samples; ++n)
            for (int c = 0; c < frame->ch_layout.nb_channels; ++c)
                pcm.push_back(toWord(reinterpret_cast<float*>(frame->extended_data[c])[n]));
        av_packet_unref(packet);
    }
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    return pcm;
}

class Mp3Codec : public testing::TestWithParam<const char*> {
protected:
    Bytes const mp3 = testData(GetParam() + std::string(".mp3"));
    std::vector<std::size_t> const starts = frameStarts(mp3);
    Mp3Header const header = *parseMp3Header(mp3.data());
    std::size_t const info = parseMp3Info(mp3.data(), header) ? 1 : 0; ///< frames of it
    Pcm const pcm = reference(mp3, info);
    std::size_t const half = starts[starts.size() / 2], last = starts[starts.size() - 2];
};

INSTANTIATE_TEST_SUITE_P(Kinds, Mp3Codec, testing::Values("cbr", "vbr", "mono", "mpeg25"));

} // namespace

TEST_P(Mp3Codec, EveryFrameIsPlayedWhateverTagsAreAroundThem)
{
    std::size_t const frames = starts.size() - 1 - info;
    std::size_t const bitRate = GetParam() == std::string("vbr")
                                    ? mp3.size() * 8 * header.samplingRate / header.samples / frames
                                    : header.bitRate;
    for (Bytes const& bytes : {mp3, joined({id3v2(0), id3v2(3000), mp3, id3v1}),
                               joined({head(mp3, half), id3v1, id3v2(9), tail(mp3, half)}),
                               joined({apeTag(99, 99), mp3, apeTag(70, 70), id3v1})}) {
        Mp3Stream stream(bytes);
        EXPECT_TRUE(stream.play() == pcm);
        EXPECT_EQ(bytes.size(), stream.at);
        EXPECT_EQ(0, stream.errors + stream.skips);
        EXPECT_EQ(header.samplingRate, stream.info.samplingRate);
        EXPECT_EQ(header.channels, stream.info.channels);
        EXPECT_EQ(bitRate, stream.info.bitRate);
    }
}

TEST_P(Mp3Codec, ACutFileEndsWithItsLastWholeFrame)
{
    for (std::size_t frames : {info, starts.size() - 2})
        for (std::size_t cut = starts[frames]; cut < starts[frames + 1]; cut += 1 + cut % 9) {
            std::size_t const size = (frames - info) * header.samples * header.channels;
            EXPECT_TRUE(Mp3Stream(head(mp3, cut)).play() ==
                        Pcm(pcm.begin(), pcm.begin() + long(size)));
        }
}

TEST_P(Mp3Codec, BytesBetweenFramesCostNoFrame)
{
    Bytes const other = testData(header.samplingRate == 8000 ? "cbr.mp3" : "mpeg25.mp3");
    for (Bytes const& junk :
         {Bytes(1), Bytes(3000, 0xFF), noise(100000), joined({Bytes(1), head(mp3, 20)})}) {
        Mp3Stream stream(
            joined({junk, head(mp3, half), junk, other, head(tail(mp3, half), last - half),
                    Bytes(1), tail(mp3, last), id3v1}));
        EXPECT_EQ(pcm.size(), stream.play().size()) << junk.size();
        long const third = long(pcm.size() / 3);
        EXPECT_TRUE(std::equal(pcm.begin(), pcm.begin() + third, stream.pcm.begin()));
    }
}

TEST_P(Mp3Codec, TagsWithinAStreamAreSkippedInSlices)
{
    for (Bytes const& tag : {id3v2(300000), apeTag(500000, 500000),
                             joined({id3v2(90000), id3v2(0), apeTag(90000, 90000)})}) {
        Mp3Stream stream(joined({head(mp3, half), tag, tail(mp3, half)}));
        EXPECT_TRUE(stream.play() == pcm);
        EXPECT_LE(stream.longestFetch, 100000u);
        EXPECT_GT(stream.skips, 1);
        EXPECT_EQ(0, Mp3Stream(joined({tag, mp3})).fetch()); // until the stream is known
    }
    Bytes const huge = {'I', 'D', '3', 4, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F}; // 256 MiB
    for (Bytes const& tag : {huge, apeTag(0, 0xFFFFFFFF)})
        EXPECT_LT(Mp3Stream(joined({head(mp3, half), tag, tail(mp3, half)})).play().size(),
                  pcm.size());
}

TEST_P(Mp3Codec, AJumpIsLikeANewBeginning)
{
    for (Bytes const& before : {head(mp3, mp3.size() - 5), joined({mp3, head(id3v2(99), 20)})})
        for (std::size_t to : {std::size_t(0), std::size_t(1001), half + 1}) {
            Mp3Stream stream(before);
            stream.play();
            stream.pcm.clear();
            stream.input = mp3;
            stream.at = to;
            EXPECT_TRUE(stream.play() == Mp3Stream(tail(mp3, to)).play()) << to;
            long const same = long(stream.pcm.size() / 4); // the first ones need lost bits
            EXPECT_GE(same, header.samples * header.channels * 2);
            EXPECT_TRUE(std::equal(stream.pcm.end() - same, stream.pcm.end(), pcm.end() - same));
        }
}

TEST_P(Mp3Codec, WhatIsNoStreamFailsWithinReach)
{
    Bytes freeFormat = mp3, damaged = mp3;
    for (std::size_t i = 0; i + 1 < starts.size(); ++i)
        freeFormat[starts[i] + 2] &= 0x0F;
    for (Bytes const& bytes :
         {Bytes(), Bytes(3, 0xFF), noise(2000000), Bytes(2000000), freeFormat}) {
        Mp3Stream stream(bytes);
        EXPECT_EQ(-1, stream.fetch());
        EXPECT_LT(stream.longestFetch, 600000u);
        EXPECT_EQ(0, stream.decode());
    }
    for (std::size_t i = 0; i < damaged.size(); i += 97)
        damaged[i] = std::uint8_t(damaged[i] * 5 + 1);
    EXPECT_LE(Mp3Stream(damaged).play().size(), pcm.size());
}

TEST(Mp3Streams, KeepTheirFirstChannels)
{
    Bytes const mono = testData("mono.mp3"), both = testData("cbr.mp3");
    Bytes const stereo = tail(both, frameStarts(both)[1]);
    Pcm const apart = Mp3Stream(stereo).play();
    std::size_t const n = Mp3Stream(mono).play().size(), last = 576 * 20;
    Mp3Stream doubled(joined({stereo, mono})), mixed(joined({mono, stereo}));
    ASSERT_EQ(apart.size() + 2 * n, doubled.play().size());
    ASSERT_EQ(apart.size() / 2 + n, mixed.play().size());
    for (std::size_t i = 0; i < last; ++i) { // where nothing is left of the other part
        ASSERT_EQ(*(doubled.pcm.end() - 1 - 2 * long(i)), *(doubled.pcm.end() - 2 - 2 * long(i)));
        auto const at = apart.end() - 2 - 2 * long(i);
        ASSERT_NEAR((double(at[0]) + at[1]) / 2, *(mixed.pcm.end() - 1 - long(i)), 256);
    }
}

TEST(Mp3Streams, AreKnownByTheirContextAndNeverClosed)
{
    Bytes const mp3 = testData("mpeg25.mp3");
    std::vector<std::unique_ptr<Mp3Stream>> streams;
    for (int i = 0; i < 200; ++i)
        streams.push_back(std::make_unique<Mp3Stream>(mp3));
    EXPECT_TRUE(streams[198]->play() == streams[199]->play());
    EXPECT_EQ(-1, streams[0]->fetch()); // too many have begun since
    EXPECT_EQ(-1, streams[0]->decode());
}

TEST(Mp3Frame, InfoFramesAreBelievedWithinReason)
{
    Bytes const mp3 = testData("vbr.mp3");
    Mp3Header const header = *parseMp3Header(mp3.data());
    auto const average = [&](const char* name, std::size_t at, Bytes const& counts) {
        Bytes frame = mp3;
        std::fill_n(frame.begin() + 4, 60, std::uint8_t(0));
        std::copy_n(name, 4, frame.begin() + long(at));
        std::copy(counts.begin(), counts.end(), frame.begin() + long(at) + 4);
        return parseMp3Info(frame.data(), header)->averageBitRate;
    };
    std::uint32_t const tenFrames = 1024 * 8 * 22050 / 576 / 10;
    EXPECT_EQ(tenFrames, average("Xing", 21, {0, 0, 0, 3, 0, 0, 0, 10, 0, 0, 4, 0}));
    EXPECT_EQ(tenFrames, average("VBRI", 36, {0, 1, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 10}));
    EXPECT_EQ(0u, average("Info", 21, {0, 0, 0, 3, 0, 0, 0, 10, 0, 0, 4, 0})); // a constant rate
    EXPECT_EQ(0u, average("Xing", 21, {0, 0, 0, 1, 0, 0, 0, 10, 0, 0, 4, 0}));
    EXPECT_EQ(0u, average("Xing", 21, {0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 4, 0}));
    EXPECT_EQ(0u, average("VBRI", 36, {0, 1, 0, 0, 0, 0, 0xFF, 0, 4, 0, 0, 0, 0, 1}));
}

TEST(PcmWords, ClampAndConvertAsOneByOne)
{
    float const below = std::nextafter(1.0f, 0.0f);
    float const edges[16] = {0,        1,         -1,  below, -below, 1.5f,  -1.5f,
                             INFINITY, -INFINITY, NAN, -NAN,  1e-10f, -1e-9f};
    std::int32_t stereo[32], mono[16];
    pcm::writeStereo(edges, edges, 16, stereo);
    pcm::writeMono(edges, edges, 16, mono);
    for (int i = 0; i < 16; ++i)
        for (std::int32_t word : {stereo[2 * i], stereo[2 * i + 1], mono[i]})
            EXPECT_EQ(toWord(edges[i]), word) << edges[i];
}

TEST(HandleTable, KeepsWhatIsUsedAndNotMuchElse)
{
    static int alive = 0;
    struct Engine {
        Engine() { ++alive; }
        ~Engine()
        {
            --alive;
            HandleTable<Engine>::instance().get(nullptr); // the lock is free
        }
    };
    auto& table = HandleTable<Engine>::instance();
    std::vector<char> keys(10000);
    auto const held = std::make_shared<Engine>();
    table.put(&keys[0], held);
    table.put(&keys[1], std::make_shared<Engine>());
    for (std::size_t i = 2; i < keys.size(); ++i) {
        table.put(&keys[i], std::make_shared<Engine>());
        EXPECT_TRUE(table.get(&keys[1])); // asked for all the time
    }
    table.put(&keys.back(), std::make_shared<Engine>()); // in the place of another
    EXPECT_EQ(int(HandleTable<Engine>::Limit), alive);
    EXPECT_EQ(held, table.get(&keys[0]));
    EXPECT_FALSE(table.get(&keys[5000]));
    table.erase(&keys.back());
    table.erase(&keys.back());
    EXPECT_EQ(int(HandleTable<Engine>::Limit) - 1, alive);
}
