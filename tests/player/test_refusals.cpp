#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

using namespace avr::test;

namespace {

std::string const kPcm = noise(40000);
std::string const kGood = wave(kPcm);
std::string const kSamples = AVR_SAMPLES "/";

/// One line that begins with `first` and has these words in it.
void expectRefused(Words const& command, int exit, std::string const& first,
                   std::string const& words)
{
    SCOPED_TRACE(testing::PrintToString(command));
    Outcome const outcome = play(command);
    EXPECT_EQ(outcome.exit, exit);
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(outcome.err.find("avrplay: " + first), 0U) << outcome.err;
    EXPECT_NE(outcome.err.find(words), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "");
}

TEST(Refusal, EveryBadFileGetsOneLineThatSaysWhy)
{
    struct {
        std::string name, bytes, words;
    } const files[] = {
        {"empty.wav", "", "empty"},
        {"text.wav", std::string(9000, 'a'), "not a WAVE file"},
        {"notes.txt", "hello\n", "-f"},
        {"avi.wav", "RIFF....AVI " + noise(9000), "not WAVE"},
        {"cut.wav", kGood.substr(0, 30), "cut off"},
        {"short.wav", kGood.substr(0, 4000), "too short"},
        {"no-block.wav", kGood.substr(0, 4134), "too short"},
        {"floats.wav", wave(kPcm, 44100, 2, 16, 3), "floating-point"},
        {"law.wav", wave(kPcm, 44100, 2, 16, 6), "A-law"},
        {"mute.wav", wave(kPcm, 44100, 0), "plays 8, 16, 24 and 32 bits"},
        {"song.mp3", noise(9000), "not built in"},
        {"plain.aac", "\xFF\xF1\x50\x80\x02\x1F\xFC" + noise(9000), "not built in"},
        {"noise.flac", noise(9000), "flac decoder does not understand it"},
        {"noise.ogg", noise(9000), "ogg decoder does not understand it"},
        {"noise.aacp", noise(9000), "he-aac decoder does not understand it"},
        {"cut.flac", contentOf(kSamples + "tune.flac").substr(0, 40), "damaged"},
        {"cut.ogg", contentOf(kSamples + "tune.ogg").substr(0, 2000), "damaged"},
        {"cut.aac", contentOf(kSamples + "tune-he.aac").substr(0, 100),
         "needs at least 8192 bytes"},
        {"opus.ogg", "OggS" + std::string(24, '\0') + "OpusHead", "without Vorbis"},
        {"wave.flac", kGood, "-f wav"},
    };
    for (auto const& file : files) {
        std::string const path = writeFile(file.name, file.bytes);
        expectRefused({path}, 1, path + ": ", file.words);
    }
    expectRefused({testFile("")}, 1, testFile(""), "a directory");
}

TEST(Refusal, AStartThatCannotBeReachedIsToldBeforeAnythingPlays)
{
    for (std::string const name : {"tune.ogg", "tune-he.aac"})
        expectRefused({"--start", "0:02", "-o", "raw:-", kSamples + name}, 1, kSamples + name,
                      "plays from the beginning only");
    expectRefused({"--start", "0:04", "-o", "raw:-", kSamples + "tune.flac"}, 1,
                  kSamples + "tune.flac", "it ends before");
}

TEST(Refusal, WrongUsageIsExitTwoAndNoDeviceThree)
{
    std::string const wav = writeFile("usage.wav", kGood);
    for (const char* text :
         {"--bogus", "-o speaker", "-o wav:", "--pcm 44100:24:2", "--pcm 44100:16", "--pcm 0:16:2",
          "--start 1:75", "--start -1", "-f nosuch", "--realtime --no-realtime"}) {
        std::istringstream words(text);
        Words command{std::istream_iterator<std::string>(words), {}};
        command.push_back(wav);
        expectRefused(command, 2, "", "");
    }
    expectRefused({}, 2, "", "");
    expectRefused({"-o", "wav:" + wav, wav}, 2, "", "overwrite");
    EXPECT_TRUE(contentOf(wav) == kGood);
    expectRefused({"-o", "alsa:nosuchdevice", wav}, 3, "", "\"nosuchdevice\"");
    expectRefused({"-o", "wav:" + testFile("no/folder.wav"), wav}, 1, wav, "no/folder.wav");
    expectRefused({"-q", "-o", "wav:/dev/full", wav}, 1, wav, "/dev/full");
}

} // namespace
