#include "FlacFile.h"
#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace avr::test;
using namespace std::string_literals;

namespace {

std::string sample(std::string const& name) { return AVR_SAMPLES "/" + name; }
std::string data(std::string const& name) { return AVR_TEST_DATA "/" + name; }
std::string audioOfSample(std::string const& name) { return contentOf(sample(name)).substr(44); }

/// As the player gives it on: from the top of 4 bytes down.
std::string atFullScale(Bytes const& lowBits, unsigned int bits)
{
    std::string pcm(lowBits.begin(), lowBits.end());
    for (std::size_t at = 0; at < pcm.size(); at += 4) {
        std::uint32_t value = 0;
        std::memcpy(&value, &pcm[at], sizeof value);
        value <<= 32 - bits;
        std::memcpy(&pcm[at], &value, sizeof value);
    }
    return pcm;
}

TEST(Codecs, EventsAndPcmOfTheSamplesAreTheKnownOnes)
{
    struct {
        std::string name, stream, pcm, duration = "--:--";
    } const files[] = {
        {"tune.flac",
         "rate=44100 bytes-per-second=176400 align=4 bits=16 extra=0 valid-bits=16 mask=0 "
         "codec=0x10000500 bit-rate=0 word=0",
         "bytes=655360 blocks=40 crc32=0x49216d7b\n"},
        {"tune-24bit.flac",
         "rate=48000 bytes-per-second=288000 align=6 bits=24 extra=0 valid-bits=24 mask=0 "
         "codec=0x10000500 bit-rate=0 word=0",
         "bytes=491520 blocks=20 crc32=0x55241f85\n"},
        {"tune.ogg",
         "rate=44100 bytes-per-second=176400 align=4 bits=16 extra=0 valid-bits=16 mask=0 "
         "codec=0x10000400 bit-rate=128000 word=4294967165",
         "bytes=655360 blocks=160 crc32=0x51addad7\n"},
        {"tune-he.aac", // the last bits are FDK's own affair
         "rate=44100 bytes-per-second=352800 align=8 bits=32 extra=0 valid-bits=32 mask=0 "
         "codec=0x10000204 bit-rate=0 word=0",
         "bytes=1327104 "},
        {"tune.wma", // so are libavcodec's
         "rate=44100 bytes-per-second=176400 align=4 bits=16 extra=0 valid-bits=16 mask=0 "
         "codec=0x10000301 bit-rate=128000 word=0",
         "bytes=643072 blocks=157 ", "0:03"},
        {"tune-lossless.wma",
         "rate=44100 bytes-per-second=176400 align=4 bits=16 extra=0 valid-bits=16 mask=0 "
         "codec=0x10000302 bit-rate=1411200 word=0",
         "bytes=327680 blocks=40 crc32=0x0331f91a\n", "0:01"},
    };
    for (auto const& file : files) {
        std::string const path = sample(file.name);
        Outcome const outcome = play({"--no-realtime", "-o", "null", "--events", path});
        EXPECT_EQ(outcome.exit, 0) << outcome.err;
        std::string const expected = "track " + path + "\nevent 2 stream-info tag=1 channels=2 " +
                                     file.stream +
                                     "\nevent 4 decoding\nevent 6 end-of-stream\n"
                                     "event 1 closed\npcm " +
                                     file.pcm;
        EXPECT_EQ(outcome.out.substr(0, expected.size()), expected);
        EXPECT_NE(outcome.err.find(", 2 channels, " + file.duration + "\n"), std::string::npos)
            << outcome.err;
    }
}

/// Of samples of so many bytes, the 16 bits at the top.
std::vector<int> top16(std::string const& pcm, std::size_t bytes)
{
    std::vector<int> samples;
    for (std::size_t at = bytes; at <= pcm.size(); at += bytes) {
        auto const high = static_cast<unsigned char>(pcm[at - 1]);
        auto const low = static_cast<unsigned char>(pcm[at - 2]);
        samples.push_back((high < 0x80 ? high : high - 0x100) * 256 + low);
    }
    return samples;
}

/// Floating-point sums, and FDK's in its own words for each processor, are rounded in another order
/// where the instructions are others: no digest holds on every machine, but one step of 16 bits
/// does.
TEST(Codecs, OnEveryMachineTheyAreWithinOneStepOfTheSame)
{
    for (std::string const name : {"mono.mp3", "lc-mono.aac", "he-stereo.aac", "wma1.wma"}) {
        auto const pcmOf = [](std::string const& path) {
            return play({"-q", "--no-realtime", "-o", "raw:-", path}).out;
        };
        std::vector<int> const heard = top16(pcmOf(data(name)), name == "wma1.wma" ? 2 : 4);
        std::vector<int> const reference = top16(pcmOf(data(name + ".flac")), 2);
        ASSERT_EQ(heard.size(), reference.size()) << name;
        ASSERT_FALSE(heard.empty());
        int farthest = 0;
        for (std::size_t i = 0; i < heard.size(); ++i)
            farthest = std::max(farthest, std::abs(heard[i] - reference[i]));
        EXPECT_LE(farthest, 1) << name;
    }
}

TEST(Codecs, FlacComesBackBitForBitAlsoFromAPosition)
{
    std::string const out = testFile("flac.wav");
    for (std::string const name : {"tune", "tune-24bit"}) {
        EXPECT_EQ(play({"-o", "wav:" + out, sample(name + ".flac")}).exit, 0);
        EXPECT_TRUE(audioOf(out) == audioOfSample(name + ".wav"));
        EXPECT_EQ(contentOf(out).substr(12, 24), contentOf(sample(name + ".wav")).substr(12, 24));
    }
    EXPECT_EQ(play({"--start", "0:02", "-o", "wav:" + out, sample("tune.flac")}).exit, 0);
    EXPECT_TRUE(audioOf(out) == audioOfSample("tune.wav").substr(2 * 44100 * 4));
}

TEST(Codecs, WmaLosslessComesBackBitForBit)
{
    std::string const out = testFile("wma.wav");
    EXPECT_EQ(play({"-o", "wav:" + out, sample("tune-lossless.wma")}).exit, 0);
    EXPECT_FALSE(audioOf(out).empty());
    EXPECT_TRUE(audioOf(out) == audioOfSample("tune.wav").substr(0, audioOf(out).size()));
}

TEST(Codecs, WmaBeginsWhereItIsToldAndProbes)
{
    std::string const wma = sample("tune.wma");
    std::string const whole = play({"-q", "-o", "raw:-", wma}).out;
    std::string const rest = play({"-q", "-o", "raw:-", "--start", "2", wma}).out;
    // What waited for its block from before, then a frame that lacks what came before it.
    constexpr std::size_t SameBytes = 200000;
    ASSERT_GT(rest.size(), SameBytes);
    EXPECT_NEAR(double(whole.size() - rest.size()) / 176400, 2, 0.3);
    EXPECT_NE(whole.find(rest.substr(rest.size() - SameBytes, SameBytes - 8192)),
              std::string::npos);
    EXPECT_EQ(play({"--json", wma}).out,
              R"({"file":")" + wma +
                  R"(","format":"wma","codec":"wma","rate":44100,"bits":16,"channels":2,)"
                  R"("bitRate":128000,"duration":3.714})" +
                  "\n");
}

TEST(Codecs, TitlesInAStreamAreShown)
{
    // In a part of the head that no decoder knows.
    std::string const record = "TEXT\0ARTIST Foo|TITLE Bar\0"s;
    std::string object(24, 'x');
    for (char c : record)
        object += {c, '\0'};
    object.replace(16, 8, {char(object.size()), 0, 0, 0, 0, 0, 0, 0});
    std::string bytes = contentOf(sample("tune.wma"));
    std::uint32_t headBytes = 0;
    std::memcpy(&headBytes, &bytes[16], sizeof headBytes);
    headBytes += std::uint32_t(object.size());
    std::memcpy(&bytes[16], &headBytes, sizeof headBytes);
    std::string const in = writeFile("titled.wma", bytes.insert(30, object));
    std::string const events = play({"--events", "-o", "null", "--no-realtime", in}).out;
    EXPECT_NE(events.find("event 7 track-info artist=Foo title=Bar\nevent 2 "), std::string::npos)
        << events;
    PlayerProcess player({"-o", "null", in}, true);
    EXPECT_TRUE(player.waitFor("Foo - Bar"));
    player.type("q");
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Codecs, FlacOfOddWidthsPlaysAtFullScale)
{
    std::string const out = testFile("odd.wav");
    for (auto const& it : {std::pair(2u, 12u), {2, 20}, {1, 5}}) {
        FlacSpec spec;
        spec.channels = it.first;
        spec.bits = it.second;
        Bytes const file = flacFile(spec);
        std::string const in = writeFile("odd.flac", std::string(file.begin(), file.end()));
        std::string const pcm = atFullScale(flacPcm(spec), spec.bits);
        Outcome const outcome = play({"-o", "wav:" + out, in});
        EXPECT_EQ(outcome.exit, 0);
        EXPECT_NE(outcome.err.find(", " + std::to_string(spec.bits) + " bits, "),
                  std::string::npos);
        EXPECT_TRUE(audioOf(out) == pcm) << spec.bits;
        EXPECT_EQ(contentOf(out).substr(34, 2), std::string("\x20\0", 2));
        // Mono samples below a byte: the decoder cannot count them.
        bool const seeks = spec.bits * spec.channels >= 8;
        EXPECT_EQ(play({"--start", "0.2", "-o", "wav:" + out, in}).exit, seeks ? 0 : 1);
        EXPECT_TRUE(!seeks || audioOf(out) == pcm.substr(8820 * spec.channels * 4)) << spec.bits;
    }
}

TEST(Codecs, FramesThatBelieTheirWidthDoNoHarm)
{
    FlacSpec spec;
    spec.channels = 1;
    spec.frames = spec.blockSize = 4097;
    Bytes file = flacFile(spec);
    file[21] = static_cast<std::uint8_t>((file[21] & 0x0F) | 0xB0); // 12 bits, says the head
    std::string const in = writeFile("lies.flac", std::string(file.begin(), file.end()));
    EXPECT_EQ(play({"-q", "-o", "raw:-", in}).out.size(), 2048U * 4);
}

TEST(Codecs, ProbeTellsWhatMp3AndAacFilesKnowOfThemselves)
{
    struct {
        std::string name, json, text;
    } const files[] = {
        {"cbr.mp3",
         R"("mp3","codec":"mp3","rate":44100,"bits":32,"channels":2,"bitRate":64000,"duration":1.0)",
         "  bit rate   64 kbit/s\n  duration   0:01\n"},
        {"vbr.mp3",
         R"("mp3","codec":"mp3","rate":22050,"bits":32,"channels":2,"bitRate":69658,"duration":1.0)",
         "  bit rate   70 kbit/s\n  duration   0:01\n"},
        {"lc-mono.m4a",
         R"("aac","codec":"aac","rate":44100,"bits":32,"channels":2,"bitRate":47169,"duration":2.0)",
         "  bit rate   47 kbit/s\n  duration   0:02\n"},
        {"lc-mono.aac",
         R"("aac","codec":"aac","rate":44100,"bits":32,"channels":2,"bitRate":null,"duration":null)",
         "  bit rate   unknown\n  duration   unknown\n"},
    };
    for (auto const& file : files) {
        std::string const path = data(file.name);
        EXPECT_EQ(play({"--json", path}).out,
                  R"({"file":")" + path + R"(","format":)" + file.json + "}\n");
        std::string const text = play({"--probe", path}).out;
        EXPECT_EQ(text.find(path + "\n  format     "), 0U) << text;
        EXPECT_NE(text.find(file.text), std::string::npos) << text;
    }
}

TEST(Codecs, Mp3AndMp4BeginWhereTheyAreTold)
{
    constexpr std::size_t FrameBytes = 1024 * 8;
    std::string const m4a = data("lc-mono.m4a");
    std::size_t const all = play({"-q", "-o", "raw:-", m4a}).out.size();
    // Frame 43 is fetched first, and the first frame is never played; nor are two from the start.
    EXPECT_EQ(play({"-q", "-o", "raw:-", "--start", "1", m4a}).out.size(), all - 42 * FrameBytes);
    // Its clock is not ahead of what is heard: only whole seconds are reached.
    EXPECT_NE(play({"--events", "--start", "1.9", "-o", "null", "--no-realtime", m4a})
                  .out.find("position 1.000000000\n"),
              std::string::npos);

    std::string const mp3 = data("cbr.mp3");
    std::string const whole = play({"-q", "-o", "raw:-", mp3}).out;
    std::string const rest = play({"-q", "-o", "raw:-", "--start", "0.5", mp3}).out;
    // The first frame lacks what the ones before it hold for it.
    constexpr std::size_t SameBytes = 200000;
    ASSERT_GT(rest.size(), SameBytes);
    EXPECT_NEAR(double(whole.size() - rest.size()) / 352800, 0.5, 0.1);
    EXPECT_TRUE(rest.substr(rest.size() - SameBytes) == whole.substr(whole.size() - SameBytes));
    // Behind a tag, which the decoder counts as audio.
    std::string const tag = std::string("ID3\4\0\0\0\7\0\0", 10) + std::string(7 * 16384, 'c');
    std::string const covered = writeFile("covered.mp3", tag + contentOf(mp3));
    EXPECT_TRUE(play({"-q", "-o", "raw:-", "--start", "0.5", covered}).out == rest);

    // Of 22050 Hz: 86 frames are delivered, of twice the length.
    std::string const low = data("he-v2.m4a");
    std::size_t const lowAll = play({"-q", "-o", "raw:-", low}).out.size();
    EXPECT_EQ(play({"-q", "-o", "raw:-", "--start", "2", low}).out.size(),
              lowAll - 42 * 2 * FrameBytes);
}

TEST(Codecs, KeysSeekInMp3)
{
    std::string bytes;
    for (int i = 0; i < 20; ++i)
        bytes += contentOf(data("cbr.mp3"));
    PlayerProcess player({"-o", "null", writeFile("long.mp3", bytes)}, true);
    ASSERT_TRUE(player.waitFor("playing  0:0"));
    player.type("\x1b[C");
    ASSERT_TRUE(player.waitFor("playing  0:1"));
    player.type("\x1b[D");
    ASSERT_TRUE(player.waitFor("playing  0:0"));
    player.type("\x1b[C\x1b[C\x1b[C"); // they add up, to beyond the end
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Codecs, KeysDoNotSeekWhereTheDecoderCannot)
{
    std::string const out = testFile("keys.raw");
    for (std::string const name : {"stereo.ogg", "he-stereo.aac", "lc-mono.aac", "lossless.wma"}) {
        std::string const in = name == "lossless.wma" ? sample("tune-" + name) : data(name);
        std::string const whole = play({"-q", "-o", "raw:-", in}).out;
        PlayerProcess player({"--realtime", "-o", "raw:" + out, in}, true);
        ASSERT_TRUE(player.waitFor("playing  0:0"));
        player.type("\x1b[C\x1b[D");
        EXPECT_EQ(player.finish().exit, 0);
        EXPECT_FALSE(whole.empty());
        EXPECT_TRUE(contentOf(out) == whole) << name;
    }
}

} // namespace
