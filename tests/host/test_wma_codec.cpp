#include "TestData.h"
#include "WmaPlay.h"
#include "WmaReference.h"

#include <thread>

using namespace avr::test;
using Layout = AsfFile::Layout;
using Reference = WmaReference;

namespace {

class WmaCodec : public testing::TestWithParam<const char*> {
protected:
    Reference const reference{AVR_TEST_DATA "/" + std::string(GetParam())};
    AsfFile asf = reference.asf;
    Bytes const& pcm = reference.pcm;
};
INSTANTIATE_TEST_SUITE_P(Files, WmaCodec, testing::Values("wma1.wma", "wma2.wma"));

bool endsWith(Bytes const& all, Bytes const& tail)
{
    return tail.size() <= all.size() && std::equal(tail.rbegin(), tail.rend(), all.rbegin());
}

/// The codec's two kinds, in short.
struct Kind {
    AsfFile asf;
    bool isLossless;
};
std::vector<Kind> kinds()
{
    return {{Reference(AVR_TEST_DATA "/wma2.wma").asf, false},
            {losslessFile(noise(90000), 2, 16, 44100), true}};
}

} // namespace

TEST_P(WmaCodec, EverySampleOfEveryPacketIsDecoded)
{
    std::vector<Bytes> files = {testData(GetParam())};
    for (std::size_t joined : {1u, 2u, 16u}) { // in a block
        asf.blocks.clear();
        for (std::size_t i = 0; i < reference.asf.blocks.size(); ++i)
            append(i % joined == 0 ? asf.blocks.emplace_back() : asf.blocks.back(),
                   reference.asf.blocks[i]);
        for (Layout layout : {Layout::Several, Layout::Single, Layout::Small})
            for (std::uint32_t bytes : {300u, 1000u, 40000u}) {
                asf.layout = layout;
                asf.packetBytes = bytes;
                if (layout != Layout::Small || asf.blocks[0].size() < 256)
                    files.push_back(asf.bytes());
            }
    }
    for (Bytes content : files) {
        std::size_t const end = content.size();
        append(content, noise(70000));
        WmaPlay play(content);
        EXPECT_TRUE(play.all() == pcm);
        EXPECT_EQ(5, play.result);
        EXPECT_EQ(5, play.step());
        EXPECT_EQ(end, play.furthest);
        EXPECT_EQ(0, play.failedReads + play.seeks);
        EXPECT_EQ(asf.rate, play.info.samplingRate);
        EXPECT_EQ(asf.channels, play.info.channels);
        EXPECT_EQ(asf.bytesPerSecond * 8, play.info.bitRate);
        EXPECT_EQ(16, play.info.bitsPerSample);
        EXPECT_EQ(1, play.info.audioStreams);
        EXPECT_NEAR(asf.duration, play.info.duration, 100);
    }
}

TEST_P(WmaCodec, ACutFileEndsWithItsLastWholePacket)
{
    Bytes const file = asf.bytes();
    std::size_t const data = asf.header(1).size();
    for (std::size_t cut = 0; cut < data; ++cut)
        ASSERT_LT(WmaPlay({file.begin(), file.begin() + long(cut)}).begun, -256) << cut;
    for (std::size_t cut = data; cut < file.size(); cut += 1 + cut % 701) {
        WmaPlay play({file.begin(), file.begin() + long(cut)});
        Bytes const& part = play.all();
        EXPECT_TRUE(std::equal(
            part.begin(), part.end() - long(std::min<std::size_t>(part.size(), 8192)), pcm.begin()))
            << cut;
        EXPECT_EQ(5, play.result);
        EXPECT_EQ(5, play.step());
        EXPECT_EQ(1, play.failedReads);
    }
}

TEST(WmaLosslessCodec, GivesTheSourceBitForBit)
{
    for (std::uint16_t bits : {std::uint16_t(16), std::uint16_t(24)})
        for (std::uint16_t channels : {std::uint16_t(1), std::uint16_t(2)})
            for (std::uint32_t rate : {8000u, 22050u, 44100u, 96000u}) {
                Bytes const pcm = noise(std::size_t(bits / 8 * channels) * 20011);
                AsfFile asf = losslessFile(pcm, channels, bits, rate);
                asf.packetBytes = rate == 44100 ? 50000 : 3200;
                WmaPlay play(asf.bytes(), true);
                EXPECT_TRUE(play.all() == pcm) << bits << channels << rate;
                EXPECT_EQ(5, play.result);
                EXPECT_EQ(0, play.failedReads + play.seeks + play.damaged);
                play.seek(0);
                play.pcm.clear();
                play.fetches = false; // then frames are lost
                for (int steps = 0; steps < 3; ++steps)
                    play.step();
                play.fetches = true;
                EXPECT_TRUE(endsWith(pcm, play.all()) && play.pcm.size() < pcm.size());
                EXPECT_EQ(channels, play.losslessInfo.channels);
                EXPECT_EQ(rate, play.losslessInfo.samplingRate);
                EXPECT_EQ(asf.duration, play.losslessInfo.duration);
                EXPECT_EQ(bits, play.losslessInfo.bitsPerSample);
                EXPECT_EQ(bits / 8, play.losslessInfo.outputBitDepth);
            }
}

TEST(WmaCodecs, ASeekGivesTheTailOfTheWhole)
{
    for (Kind const& kind : kinds()) {
        WmaPlay play(kind.asf.bytes(), kind.isLossless);
        Bytes const whole = play.all();
        std::size_t longest = whole.size() + 1;
        for (unsigned int ms : {0u, 1u, kind.asf.duration / 3, kind.asf.duration / 2,
                                kind.asf.duration - 1, kind.asf.duration}) {
            for (int steps = ms % 4; steps != 0; --steps) // or from the end
                play.step();
            int const seeksBefore = play.seeks;
            ASSERT_EQ(0, play.seek(ms));
            EXPECT_EQ(seeksBefore, play.seeks) << "it is left to the next decode";
            play.pcm.clear();
            EXPECT_TRUE(endsWith(whole, play.all())) << ms;
            EXPECT_LE(play.pcm.size(), longest);
            EXPECT_TRUE(ms > 1 || play.pcm.size() == whole.size());
            EXPECT_EQ(seeksBefore + 1, play.seeks);
            longest = play.pcm.size();
        }
        EXPECT_EQ(0, play.failedReads);
        EXPECT_EQ(5, play.seek(kind.asf.duration + 1));
        EXPECT_EQ(5, play.seek(UINT_MAX));
        EXPECT_EQ(5, play.step());
    }
}

TEST(WmaCodecs, AFailedSeekPlaysOnAndAResetForgets)
{
    for (Kind const& kind : kinds()) {
        WmaPlay play(kind.asf.bytes(), kind.isLossless);
        Bytes const whole = play.all();
        play.seek(0);
        play.pcm.clear();
        for (int steps = 0; steps < 4; ++steps)
            play.step();
        play.canSeek = false;
        EXPECT_EQ(0, play.seek(0));
        EXPECT_TRUE(play.all() == whole);
        EXPECT_EQ(3, play.seeks) << "there, and back to where it was";

        // A seek ends the read in progress, and then fails: all that is lost is a block's lead-in.
        play.canSeek = true;
        play.seek(0);
        play.pcm.clear();
        for (int steps = 0; steps < 4; ++steps)
            play.step();
        play.canSeek = false;
        play.canGoBack = play.givesUp = true;
        while (play.givesUp)
            play.step();
        std::size_t const before = play.pcm.size();
        EXPECT_EQ(0, play.seek(kind.asf.duration));
        play.all();
        EXPECT_TRUE(endsWith(whole, Bytes(play.pcm.begin() + long(before), play.pcm.end())));
        EXPECT_GT(play.pcm.size(), whole.size() - 20000);

        play.canSeek = true;
        play.seek(0);
        for (int steps = 0; steps < 4; ++steps)
            play.step();
        EXPECT_EQ(0, play.reset());
        play.pcm.clear();
        EXPECT_TRUE(endsWith(whole, play.all()));
        EXPECT_GT(play.pcm.size(), whole.size() / 3);
        EXPECT_EQ(0, play.reset());
        EXPECT_EQ(5, play.step()) << "it is still the end";
    }
}

TEST(WmaCodecs, FilesWithoutATimeOrACountCannotBePositioned)
{
    for (Kind kind : kinds()) {
        Bytes const whole = WmaPlay(kind.asf.bytes(), kind.isLossless).all();
        kind.asf.isBroadcast = true;
        Bytes broadcast = kind.asf.header(0);
        for (Bytes const& packet : kind.asf.packets())
            append(broadcast, packet);
        kind.asf.isBroadcast = false;
        Bytes const empty = kind.asf.header(0);
        kind.asf.duration = 0;
        for (Bytes const& file : {broadcast, empty, kind.asf.bytes()}) {
            WmaPlay play(file, kind.isLossless);
            EXPECT_LT(play.seek(0), 0);
            EXPECT_LT(play.seek(UINT_MAX), 0);
            EXPECT_TRUE(play.all() == (file == empty ? Bytes() : whole));
            EXPECT_EQ(file == broadcast, play.failedReads);
        }
    }
}

TEST(WmaCodecs, WishesComeFromAnyThread)
{
    for (Kind const& kind : kinds()) {
        WmaPlay play(kind.asf.bytes(), kind.isLossless);
        std::atomic<bool> done{false};
        std::thread wishes([&] {
            for (unsigned int i = 0; !done; ++i) {
                EXPECT_EQ(0, play.seek(i * 97 % kind.asf.duration));
                EXPECT_EQ(0, i % 3 == 0 ? play.reset() : 0);
            }
        });
        for (int steps = 0; steps < 300; ++steps)
            EXPECT_NE(play.step(), -1);
        done = true;
        wishes.join();
        play.seek(0);
        play.pcm.clear();
        EXPECT_TRUE(play.all() == WmaPlay(kind.asf.bytes(), kind.isLossless).all());
    }
}

TEST(WmaCodecs, RefuseWhatTheyCannotDecodeAndKeepNothingOfIt)
{
    auto const refuses = [](AsfFile const& asf, bool lossless) {
        WmaPlay play(asf.bytes(), lossless);
        EXPECT_LT(play.seek(0), 0);
        EXPECT_EQ(-1, play.step());
        EXPECT_EQ(0, play.reset());
        return play.begun != 0;
    };
    std::vector<Kind> const all = kinds();
    EXPECT_TRUE(refuses(all[0].asf, true));
    EXPECT_TRUE(refuses(all[1].asf, false));
    for (Kind const& kind : all) {
        std::vector<AsfFile> bad(9, kind.asf);
        bad[0].tag = 0x162;
        bad[1].tag = 0x0A;
        bad[2].channels = 0;
        bad[3].channels = 3;
        bad[4].rate = 0;
        bad[5].rate = 1u << 30;
        bad[6].stream = 0x8001; // encrypted
        bad[7].packetBytes = 1 << 18;
        bad[8].blockAlign = 0;
        if (kind.isLossless) {
            bad[8].extra[0] = 20;
            bad.push_back(kind.asf);
            bad.back().extra.clear();
            bad.push_back(kind.asf);
            bad.back().extra[2] = 63; // six channels
        }
        for (std::size_t i = 0; i < bad.size(); ++i)
            EXPECT_TRUE(refuses(bad[i], kind.isLossless)) << i;
    }
}

TEST(WmaCodecs, DamageCostsOnlyWhatItHits)
{
    for (Kind kind : kinds()) {
        kind.asf.packetBytes = 300;
        Bytes const file = kind.asf.bytes();
        std::size_t const data = kind.asf.header(0).size();
        std::size_t const whole = WmaPlay(file, kind.isLossless).all().size();
        std::size_t const step = kind.isLossless ? 1999 : 97;
        for (std::size_t at = 0; at < file.size(); at += at < data ? 1 : step) {
            Bytes flipped = file;
            flipped[at] = std::uint8_t(flipped[at] ^ (at % 3 == 0 ? 0xFF : 1 << at % 8));
            WmaPlay play(flipped, kind.isLossless);
            std::size_t const rest = play.all().size();
            EXPECT_TRUE(at < data || (rest <= whole && rest >= whole * 9 / 10)) << at;
            EXPECT_LT(play.reads, 2000);
        }
    }
}
