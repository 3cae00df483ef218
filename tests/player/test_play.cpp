#include "PlayerProcess.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace avr::test;

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
    for (Wave wave : {Wave{1, 8000, 1, 8, ""}, Wave{1, 44100, 2, 16, ""}, Wave{1, 96000, 2, 24, ""},
                      Wave{1, 48000, 1, 32, ""}, Wave{1, 48000, 6, 16, ""}}) {
        std::size_t const frame = wave.bits / 8 * wave.channels;
        wave.pcm = noise(20 * kBlockFrames * frame + 300 * frame);
        std::string const in = writeFile("in.wav", wave.bytes());
        std::string const out = testFile("out.wav");
        Outcome const outcome = play({"-o", "wav:" + out, in});
        EXPECT_EQ(outcome.exit, 0);
        EXPECT_TRUE(audioOf(out) == wave.pcm.substr(0, 20 * kBlockFrames * frame)) << wave.bits;
        EXPECT_EQ(readFile(out).substr(12, 24), wave.bytes().substr(12, 24));
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.find("Playing " + in + ": Wave, "), 0U) << outcome.err;
    }
}

TEST(Play, RawOnStandardOutputIsPcmAndNothingElse)
{
    std::string const pcm = noise(50 * kBlockFrames * 4);
    std::string const in = writeFile("raw.wav", Wave{1, 44100, 2, 16, pcm}.bytes());
    EXPECT_EQ(play({"-q", "-o", "raw:-", in}).out, pcm);
    Outcome const noisy = play({"-v", "--events", "-o", "raw:-", in});
    EXPECT_EQ(noisy.exit, 0);
    EXPECT_TRUE(noisy.out == pcm);
    EXPECT_NE(noisy.err.find("[DecoderImple::Open()] called."), std::string::npos);
    EXPECT_NE(noisy.err.find("event 2 stream-info"), std::string::npos);
}

TEST(Play, HeaderlessPcmIsBigEndianAndHasTheGivenFormat)
{
    std::string const pcm = noise(100000);
    std::string const in = writeFile("music.anything", swapped(pcm));
    std::string const out = testFile("pcm.wav");
    EXPECT_EQ(play({"--pcm", "48000:16:1", "-o", "wav:" + out, in}).exit, 0);
    EXPECT_TRUE(audioOf(out) == pcm);
    EXPECT_EQ(readFile(out).substr(22, 6), littleEndian(1, 2) + littleEndian(48000, 4));
}

TEST(Play, StartSkipsExactlyThatMuch)
{
    std::string const pcm = noise(4 * 44100);
    std::string const wav = writeFile("start.wav", Wave{1, 44100, 2, 16, pcm}.bytes());
    std::string const half = play({"-q", "--start", "0.5", "-o", "raw:-", wav}).out;
    EXPECT_EQ(half.size(), 21 * kBlockFrames * 4); // 22050 frames are 21 blocks and a bit
    EXPECT_TRUE(half == pcm.substr(22050 * 4, half.size()));
    // The decoder knows its defaults only until it begins to play.
    std::string const raw = writeFile("start.pcm", swapped(pcm));
    EXPECT_TRUE(play({"-q", "--pcm", "8000:16:1", "--start", "0:02.5", "-o", "raw:-", raw}).out ==
                pcm.substr(40000));
    Outcome const late = play({"--start", "1:00", "-o", "null", wav});
    EXPECT_EQ(late.exit, 1);
    EXPECT_NE(late.err.find("before --start 1:00"), std::string::npos) << late.err;
}

TEST(Play, GoesOnAfterAFileThatFails)
{
    std::string const one = noise(10 * kBlockFrames * 4);
    std::string const two = noise(30 * kBlockFrames * 4).substr(one.size());
    std::string const a = writeFile("[a,b] one.wav", Wave{1, 44100, 2, 16, one}.bytes());
    std::string const b = writeFile("two.wav", Wave{1, 44100, 2, 16, two}.bytes());
    std::string const other = writeFile("other.wav", Wave{1, 44100, 1, 16, one}.bytes());
    std::string const out = testFile("both.wav");
    Outcome const outcome = play({"-q", "-o", "wav:" + out, a, testFile("nosuch.wav"), other, b});
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_TRUE(audioOf(out) == one + two);
    EXPECT_NE(outcome.err.find("nosuch.wav: no such file"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("other.wav: the output refuses it"), std::string::npos);
}

TEST(Play, TheEndOfATrackIsHeardBeforeTheNextBegins)
{
    // This decoder is done before a paced output is.
    std::string const pcm = noise(12800);
    std::string const in = writeFile("end.lpcm", swapped(pcm));
    std::string const out = testFile("end.wav");
    EXPECT_EQ(play({"--pcm", "16000:16:1", "--realtime", "-o", "wav:" + out, in, in}).exit, 0);
    EXPECT_TRUE(audioOf(out) == pcm + pcm);
}

TEST(Play, TheSamplesAreTheSameTune)
{
    std::string const samples = SAMPLES_DIR;
    std::string const tune = play({"-q", "-o", "raw:-", samples + "/tune.wav"}).out;
    EXPECT_GT(tune.size(), 500000U);
    EXPECT_TRUE(play({"-q", "-o", "raw:-", samples + "/tune.lpcm"}).out == tune);
}

TEST(Play, TheEventLogIsTheSameEveryTime)
{
    std::string const pcm(4 * kBlockFrames * 2 + 10, 'x');
    std::string const wav = writeFile("golden.wav", Wave{1, 8000, 1, 16, pcm}.bytes());
    EXPECT_EQ(play({"--events", "--no-realtime", "-o", "null", wav}).out,
              "track " + wav +
                  "\nevent 2 stream-info tag=1 channels=1 rate=8000 bytes-per-second=16000 "
                  "align=2 bits=16 extra=0 valid-bits=16 mask=0 codec=0x10001000 "
                  "bit-rate=128000 word=0\nevent 4 decoding\nevent 6 end-of-stream\n"
                  "event 1 closed\npcm bytes=8192 blocks=4 crc32=0x123905c5\n");
}

TEST(Probe, GivesOneJsonObjectPerFile)
{
    std::string const wav =
        writeFile("probe.wav", Wave{1, 48000, 2, 24, noise(6 * 48000 * 3)}.bytes());
    std::string const pcm = writeFile("probe.pcm", noise(44100 * 4));
    Outcome const outcome = play({"--probe", "--json", wav, testFile("nosuch.wav")});
    EXPECT_EQ(outcome.exit, 1);
    std::size_t const line = outcome.out.find('\n') + 1;
    EXPECT_EQ(nlohmann::json::parse(outcome.out.substr(0, line)),
              nlohmann::json({{"file", wav},
                              {"format", "wav"},
                              {"codec", "Wave"},
                              {"rate", 48000},
                              {"bits", 24},
                              {"channels", 2},
                              {"bitRate", 2304000},
                              {"duration", 3.0}}));
    EXPECT_EQ(nlohmann::json::parse(outcome.out.substr(line)),
              nlohmann::json({{"file", testFile("nosuch.wav")},
                              {"error", "no such file or directory; check the name"}}));
    Outcome const text = play({"--probe", "--pcm", "22050:16:2", pcm});
    EXPECT_NE(text.out.find("  codec      Lpcm\n  rate       22050 Hz\n"), std::string::npos);
    EXPECT_NE(text.out.find("  bit rate   706 kbit/s\n  duration   0:02\n"), std::string::npos);
    EXPECT_EQ(text.exit, 0);
    EXPECT_EQ(text.err, "");
}

} // namespace
