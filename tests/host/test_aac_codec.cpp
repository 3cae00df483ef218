#include "AacFile.h"
#include "AacPlay.h"
#include "Pcm16.h"
#include "TestData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

extern "C" {
#include <libavcodec/avcodec.h>
}

using namespace avr::host;
using namespace avr::test;

namespace {

using Pcm = std::vector<std::int16_t>; ///< the planes of each frame in turn

std::int16_t toHalfWord(float x)
{
    return std::isnan(x) ? std::int16_t{0}
                         : std::int16_t(std::lrintf(std::clamp(x * 32768.0f, -32768.0f, 32767.0f)));
}

/// What FFmpeg makes of the first two channels: of whole frames, or of blocks with a config.
Pcm reference(Frames const& frames, Bytes const& config = {})
{
    const AVCodec* const codec = avcodec_find_decoder_by_name("aac");
    AVCodecContext* context = avcodec_alloc_context3(codec);
    context->extradata = static_cast<std::uint8_t*>(av_mallocz(config.size() + 64));
    std::copy(config.begin(), config.end(), context->extradata);
    context->extradata_size = int(config.size());
    EXPECT_EQ(0, avcodec_open2(context, codec, nullptr));
    AVPacket* packet = av_packet_alloc();
    AVFrame* decoded = av_frame_alloc();
    Pcm pcm;
    for (Bytes const& frame : frames) {
        Bytes const bytes = config.empty() ? frame : blockOf(frame);
        av_new_packet(packet, int(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), packet->data);
        EXPECT_EQ(0, avcodec_send_packet(context, packet));
        EXPECT_EQ(0, avcodec_receive_frame(context, decoded));
        for (int c = 0; c < std::min(decoded->ch_layout.nb_channels, 2); ++c)
            for (int i = 0; i < decoded->nb_samples; ++i)
                pcm.push_back(toHalfWord(reinterpret_cast<float*>(decoded->data[c])[i]));
        av_packet_unref(packet);
    }
    av_frame_free(&decoded);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    return pcm;
}

const Bytes CoreMono = {0x13, 0x88, 0x56, 0xE5, 0x00}, CoreStereo = {0x13, 0x90, 0x56, 0xE5, 0x00};

void put32(Bytes& file, std::size_t at, std::uint32_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        file[at + i] = std::uint8_t(value >> (24 - 8 * i));
}
/// Where the atom of that name begins.
std::size_t find(Bytes const& file, std::string const& name)
{
    auto const at = std::search(file.begin(), file.end(), name.begin(), name.end());
    EXPECT_NE(file.end(), at) << name;
    return std::size_t(at - file.begin()) - 4;
}

} // namespace

TEST(AacCodec, AdtsGivesEverySampleAndReadsNothingElse)
{
    Bytes const file = testData("lc-mono.aac");
    Frames const frames = framesOf(file);
    Pcm const expected = reference(frames);
    for (std::size_t blocks : {1u, 4u})
        for (bool crc : {false, true}) {
            Bytes regrouped;
            for (std::size_t i = 0; i < frames.size(); i += blocks)
                append(regrouped, oneFrame(frames, i, i + blocks, crc));
            AacPlay play(regrouped);
            EXPECT_TRUE(play.all() == expected) << blocks << crc;
            EXPECT_EQ(1, play.failed);
            EXPECT_EQ(0, play.errors + play.seeks);
        }
    for (const char* name : {"he-stereo.aac", "he-v2.aac"}) {
        Frames const extended = framesOf(testData(name));
        AacPlay play(testData(name));
        EXPECT_TRUE(play.all() == reference(extended, name[3] == 's' ? CoreStereo : CoreMono));
        EXPECT_EQ(extended.size() * play.channels * 1024, play.pcm.size());
    }
    AacPlay surround(testData("lc-surround.aac"));
    EXPECT_TRUE(surround.all() == reference(framesOf(surround.file)));
    EXPECT_EQ(6u, surround.channels);
}

TEST(AacCodec, AdtsTakesItsChannelsFromAProgramInTheBlocks)
{
    Frames frames = framesOf(testData("he-stereo.aac"));
    Pcm const expected = reference(frames, CoreStereo);
    for (Bytes& frame : frames)
        frame[2] &= 0xFE, frame[3] &= 0x3F;
    BitWriter bits;
    bits.put(5, 3);
    putProgram(bits, 7, true, 9);
    frames[0].insert(frames[0].begin() + 7, bits.bytes().begin(), bits.bytes().end());
    Bytes file = oneFrame(frames, 0, 1, false);
    for (std::size_t i = 1; i < frames.size(); ++i)
        append(file, frames[i]);
    AacPlay play(file);
    EXPECT_TRUE(play.all() == expected);
    std::size_t const later = file.size() - frames.back().size();
    std::fill(file.begin() + long(later) + 7, file.end(), std::uint8_t{0});
    append(file, frames[1]); // behind a damaged frame the program still holds
    AacPlay damaged(file);
    EXPECT_EQ(expected.size(), damaged.all().size());
    EXPECT_EQ(1, damaged.errors);
}

TEST(AacCodec, AdtsIsFoundAgainBehindWhatIsNoFrame)
{
    Frames const frames = framesOf(testData("lc-mono.aac"));
    Bytes tag = {'I', 'D', '3', 4, 0, 0x10, 0, 0x12, 0x4E, 0x54}; // 305000 bytes with a footer
    append(tag, noise(305000 - 10));
    Bytes const tooLong = oneFrame({frames[0], noise(8000)}, 0, 2, false);
    Bytes file = tag;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        append(file, frames[i]);
        append(file, i % 9 == 2 ? Bytes(50, 0xFF) : i % 9 == 5 ? Bytes{'I', 'D', '3', 4} : Bytes());
        append(file, i == 40 ? tag : i == 60 ? tooLong : Bytes());
    }
    Bytes truncated = file;
    append(truncated, part(frames[1], 0, frames[1].size() - 1));
    for (Bytes const& input : {file, truncated}) {
        AacPlay play(input);
        EXPECT_TRUE(play.all() == reference(frames));
        EXPECT_EQ(1, play.failed);
    }
    for (Bytes const& content : {Bytes(300000, 0x11), noise(3000000)}) { // has some false headers
        AacPlay endless(content);
        endless.all();
        EXPECT_LT(endless.fetched, 0);
        EXPECT_EQ(0, endless.failed);
    }
}

TEST(AacCodec, ABadFrameCostsOnlyItself)
{
    Frames frames = framesOf(testData("lc-mono.aac"));
    for (std::size_t bad : {0u, 20u, 21u})
        std::fill(frames[bad].begin() + 7, frames[bad].end(), std::uint8_t{0});
    Bytes file;
    for (Bytes const& frame : frames)
        append(file, frame);
    AacPlay play(file);
    EXPECT_EQ((frames.size() - 3) * 1024, play.all().size());
    EXPECT_EQ(3, play.errors);
}

TEST(AacCodec, AdifGivesEveryBlockOfItsWholeChunks)
{
    Bytes const mono = testData("lc-mono.aac"), stereo = testData("he-stereo.aac");
    for (unsigned int programs : {1u, 16u})
        for (Bytes const& file : {mono, stereo}) {
            bool const isMono = file == mono;
            Frames frames = framesOf(file);
            AacPlay play(adif(frames, isMono ? 4 : 7, !isMono, programs));
            std::size_t end = play.file.size(), whole = frames.size();
            for (; end > play.file.size() / 512 * 512; end -= frames[whole].size() - 7)
                --whole;
            frames.resize(whole);
            EXPECT_TRUE(play.all() == (isMono ? reference(frames) : reference(frames, CoreStereo)));
            EXPECT_EQ(1, play.failed);
            EXPECT_EQ(0, play.errors);
        }
    Frames frames = framesOf(mono);
    unsigned int comment = 0;
    for (; adif(frames, 4, false, 1, comment).size() % 512 != 0; ++comment)
        if (comment == 255) {
            frames.pop_back();
            comment = 0;
        }
    AacPlay fitting(adif(frames, 4, false, 1, comment)); // the last chunk is a whole one
    EXPECT_TRUE(fitting.all() == reference(frames));
    Bytes broken = adif(frames, 4, false, 1);
    std::fill(broken.begin() + 3000, broken.end(), std::uint8_t{0});
    AacPlay play(broken);
    play.all();
    EXPECT_EQ(1, play.errors);
    EXPECT_EQ(0, play.failed);
}

TEST(AacCodec, Mp4GivesEverySampleWhereverTheHeadIs)
{
    Frames const frames = framesOf(testData("lc-mono.aac"));
    AacPlay first(testData("lc-mono.m4a"), false);
    EXPECT_TRUE(first.all() == reference(frames));
    EXPECT_EQ(0, first.failed + first.seeks + first.errors);
    EXPECT_EQ(44100u, first.track.timescale);
    EXPECT_EQ(frames.size() * 1024, first.track.duration);
    EXPECT_NEAR(48000, first.track.bitRate, 2500);
    Pcm const expected = reference(framesOf(testData("he-v2.aac")), CoreMono);
    Bytes const file = testData("he-v2.m4a");
    for (unsigned int objectType : {2u, 5u, 29u}) {
        Bytes extended = file;
        if (objectType != 2) { // it takes the place of the next descriptor
            std::size_t const at = find(file, "esds") + 43;
            ASSERT_EQ(0x1388u, unsigned(file[at]) << 8 | file[at + 1]);
            extended[at - 1] = 4;
            put32(extended, at, objectType << 27 | 7 << 23 | 1 << 19 | 4 << 15 | 2 << 10);
        }
        AacPlay last(extended);
        EXPECT_TRUE(last.all() == expected) << objectType;
        EXPECT_EQ(0, last.failed + last.errors);
        EXPECT_EQ(22050u, last.track.samplingRate);
        EXPECT_EQ(1u, last.track.channels);
        Bytes room(16384);
        EXPECT_EQ(0, VMP4_getFrame(room.data(), 0, UINT_MAX, 16384, last.state));
        EXPECT_GT(0, VMP4_getFrame(room.data(), 1, 0, 16384, last.state));
        EXPECT_EQ(1, VMP4_getFrame(room.data(), 0, 0, 10, last.state)) << "too small for it";
        last.index = 20;
        EXPECT_EQ(204, last.fetch(room.data(), 204));
        VMP4_close(last.state);
        EXPECT_GT(0, last.fetch(room.data(), 16384));
    }
    Bytes gap = file;
    put32(gap, find(file, "stco") - 4, 0); // the last sample is empty
    AacPlay played(gap);
    EXPECT_EQ(expected.size() - 1024, played.all().size());
    EXPECT_EQ(1, played.errors);
    // One place that cannot be reached says nothing of those before it.
    AacPlay limited(file, true, find(file, "moov") - 1);
    EXPECT_TRUE(limited.all() == expected);
    AacPlay piped(file, false);
    EXPECT_TRUE(piped.opened);
    EXPECT_TRUE(piped.all().empty());
}

TEST(AacCodec, Mp4ThatCannotBePlayedIsRefused)
{
    Bytes const file = testData("he-v2.m4a");
    struct {
        const char* atom;
        std::size_t at;
        std::uint32_t value;
    } const changes[] = {
        {"mdhd", 20, 0},          {"stsz", 16, 0xFFFFFFFF}, {"stsz", 12, 2},
        {"stco", 12, 0x10000000}, {"stsc", 12, 0x7FFFFFFF}, {"stts", 12, 0xFFFFFFFF},
        {"mp4a", 4, 1},           {"hdlr", 16, 0x76696465}, {"trak", 4, 1},
        {"moov", 0, 0},           {"moov", 0, 7},           {"moov", 0, 0x1000001},
        {"moov", 0, 1},           {"free", 0, 0xFFFFFFFF},  {"stco", 16, 1u << 31}};
    for (auto const& change : changes) {
        Bytes hostile = file;
        put32(hostile, find(file, change.atom) + change.at, change.value);
        if (change.value == 2) // samples of one size need no table
            put32(hostile, find(file, "stsz") + 16, (1u << 22) + 1);
        AacPlay play(hostile);
        EXPECT_TRUE(play.all().empty()) << change.atom << change.at;
        EXPECT_EQ(0u, play.channels);
        EXPECT_LT(play.reads, 100);
    }
    Bytes atoms;
    for (int i = 0; i < 100000; ++i)
        append(atoms, Bytes{0, 0, 0, 8, 'f', 't', 'y', 'p'});
    EXPECT_FALSE(AacPlay(atoms).opened);
    for (std::size_t at = find(file, "moov"); at < file.size(); ++at)
        for (std::uint8_t flip : {std::uint8_t{0x80}, std::uint8_t{0x7F}}) {
            Bytes flipped = file;
            flipped[at] = file[at] ^ flip;
            AacPlay play(flipped);
            if (play.begun)
                play.step();
        }
}

TEST(AacCodec, SamplesAreRoundedClippedAndNeverAnythingElse)
{
    std::vector<float> samples = {0.0f, -0.0f, 1.0f, -1.0f, 0.99999f, 1e30f, -1e30f, 1e-40f};
    for (float limit : {std::numeric_limits<float>::infinity(), NAN})
        samples.insert(samples.end(), {limit, -limit});
    for (float half = -32769.5f; half < 32769; half += 0.25f)
        samples.push_back(half / 32768);
    samples.resize(samples.size() / 8 * 8);
    Pcm expected, made(samples.size());
    for (float sample : samples)
        expected.push_back(toHalfWord(sample));
    pcm::writePlane(samples.data(), samples.size(), made.data());
    EXPECT_TRUE(expected == made);
}
