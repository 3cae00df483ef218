#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

using namespace avr::test;

namespace {

std::string const kPcm = noise(40000);
std::string const kGood = wave(kPcm);

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
    };
    for (auto const& file : files) {
        std::string const path = writeFile(file.name, file.bytes);
        expectRefused({path}, 1, path + ": ", file.words);
    }
    expectRefused({testFile("")}, 1, testFile(""), "a directory");
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
