#include "PlayerProcess.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace avr::test;
using namespace std::string_literals;

namespace {

constexpr std::size_t kBlockFrames = 1024; // the WAVE decoder delivers whole blocks only

std::string swapped(std::string bytes)
{
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

TEST(Play, AWavFileComesBackBitForBit)
{
    for (auto const& it : {std::pair(1u, 8u), {2, 16}, {6, 16}, {2, 24}, {1, 32}}) {
        std::size_t const frame = it.first * it.second / 8;
        std::string const pcm = noise((20 * kBlockFrames + 300) * frame);
        std::string const in = writeFile("in.wav", wave(pcm, 96000, it.first, it.second));
        std::string const out = testFile("out.wav");
        Outcome const outcome = play({"-o", "wav:" + out, in});
        EXPECT_EQ(outcome.exit, 0);
        EXPECT_TRUE(audioOf(out) == pcm.substr(0, 20 * kBlockFrames * frame)) << it.second;
        EXPECT_EQ(contentOf(out).substr(12, 24), contentOf(in).substr(12, 24));
        EXPECT_EQ(outcome.err.find("Playing " + in + ": Wave, "), 0U) << outcome.err;
    }
}

TEST(Play, RawOnStandardOutputIsPcmAndNothingElse)
{
    std::string const pcm = noise(50 * kBlockFrames * 4);
    Outcome const noisy = play({"-v", "--events", "-o", "raw:-", writeFile("raw.wav", wave(pcm))});
    EXPECT_EQ(noisy.exit, 0);
    EXPECT_TRUE(noisy.out == pcm);
    EXPECT_NE(noisy.err.find("event 2 stream-info"), std::string::npos);
}

TEST(Play, StartSkipsExactlyThatMuch)
{
    std::string const pcm = noise(4 * 44100);
    std::string const wav = writeFile("start.wav", wave(pcm));
    std::string const half = play({"-q", "--start", "0.5", "-o", "raw:-", wav}).out;
    EXPECT_EQ(half.size(), 21 * kBlockFrames * 4); // 22050 frames are 21 blocks and a bit
    EXPECT_TRUE(half == pcm.substr(22050 * 4, half.size()));
    EXPECT_EQ(play({"--start", "1:00", "-o", "null", wav}).exit, 1);
    // The decoder knows its defaults only until it begins to play.
    std::string const raw = writeFile("start.pcm", swapped(pcm));
    EXPECT_TRUE(play({"-q", "--pcm", "8000:16:1", "--start", "0:02.5", "-o", "raw:-", raw}).out ==
                pcm.substr(40000));
}

TEST(Play, GoesOnAfterAFileThatFails)
{
    std::string const pcm = noise(10 * kBlockFrames * 4);
    std::string const good = writeFile("[a,b] good.wav", wave(pcm));
    std::string const other = writeFile("other.wav", wave(pcm, 44100, 1));
    std::string const out = testFile("both.wav");
    Outcome const outcome =
        play({"-q", "-o", "wav:" + out, good, testFile("nosuch.wav"), other, good});
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_TRUE(audioOf(out) == pcm + pcm);
    EXPECT_NE(outcome.err.find("nosuch.wav: no such file"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("and cannot take"), std::string::npos);
}

TEST(Play, TheEndOfATrackIsHeardBeforeTheNextBegins)
{
    // This decoder is done before a paced output is.
    std::string const pcm = noise(12800);
    std::string const in = writeFile("end.lpcm", swapped(pcm));
    std::string const out = testFile("end.wav");
    EXPECT_EQ(play({"--pcm", "16000:16:1", "--realtime", "-o", "wav:" + out, in, in}).exit, 0);
    EXPECT_TRUE(audioOf(out) == pcm + pcm);
    EXPECT_EQ(contentOf(out).substr(22, 4), "\x01\0\x80\x3E"s);
}

TEST(Probe, GivesOneJsonObjectPerFile)
{
    std::string const wav = writeFile("probe.wav", wave(noise(6 * 48000 * 3), 48000, 2, 24));
    Outcome const outcome = play({"--probe", "--json", wav, testFile("nosuch.wav")});
    EXPECT_EQ(outcome.exit, 1);
    std::size_t const line = outcome.out.find('\n') + 1;
    auto const found = nlohmann::json::parse(outcome.out.substr(0, line));
    EXPECT_EQ(found.dump(), R"({"bitRate":2304000,"bits":24,"channels":2,"codec":"Wave",)"
                            R"("duration":3.0,"file":")" +
                                wav + R"(","format":"wav","rate":48000})");
    EXPECT_EQ(nlohmann::json::parse(outcome.out.substr(line))["error"],
              "no such file or directory; check the name");
}

} // namespace
