#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include <sys/stat.h>

using namespace avr::test;
using namespace std::string_literals;

namespace {

std::string const kPcm = noise(40000);
std::string const kGood = wave(kPcm);
std::string const kSamples = AVR_SAMPLES "/";

std::string dataFile(std::string const& name) { return contentOf(AVR_TEST_DATA "/" + name); }

std::string repeated(std::string const& bytes, int times)
{
    std::string all;
    while (times-- > 0)
        all += bytes;
    return all;
}

/// Some of its atoms have other names.
std::string m4aWith(std::vector<std::pair<std::string, std::string>> const& names)
{
    std::string bytes = dataFile("lc-mono.m4a");
    for (auto const& name : names)
        bytes.replace(bytes.find(name.first), 4, name.second);
    return bytes;
}

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
        {"noise.wma", noise(9000), "wma decoder does not understand it"},
        {"cut.wma", dataFile("wma2.wma").substr(0, 400), "ASF file with a damaged header"},
        {"mp3.wma", dataFile("cbr.mp3"), "holds mp3, not wma; play it with -f mp3"},
        {"noise.mp3", noise(9000), "mp3 decoder does not understand it"},
        {"noise.aac", noise(9000), "aac decoder does not understand it"},
        {"noise.flac", noise(9000), "flac decoder does not understand it"},
        {"noise.ogg", noise(9000), "ogg decoder does not understand it"},
        {"noise.aacp", noise(9000), "he-aac decoder does not understand it"},
        {"cut.flac", contentOf(kSamples + "tune.flac").substr(0, 40), "damaged"},
        {"cut.ogg", contentOf(kSamples + "tune.ogg").substr(0, 2000), "damaged"},
        {"cut.aac", contentOf(kSamples + "tune-he.aac").substr(0, 100),
         "needs at least 8192 bytes"},
        {"opus.ogg", "OggS" + std::string(24, '\0') + "OpusHead", "without Vorbis"},
        {"wave.flac", kGood, "-f wav"},
        {"aac.mp3", dataFile("lc-mono.aac"), "holds aac, not mp3; play it with -f aac"},
        {"mp3.aac", dataFile("cbr.mp3"), "holds mp3, not aac; play it with -f mp3"},
        {"tag.mp3", "ID3\3\0\0\0\1\0\0"s + noise(9000), "nothing stands behind its tag"},
        {"free.mp3", "\xFF\xFB\x00\x40"s + std::string(9000, 'U'), "of free format"},
        {"layer2.mp3", repeated("\xFF\xFD\x84\x40"s + std::string(413, 'U'), 30), "another layer"},
        {"five-one.aac", dataFile("lc-surround.aac"), "only mono and stereo"},
        {"7350.aac", repeated("\xFF\xF1\x70\x40\x01\x7F\xFC\0\0\0\7"s, 20), "7350 Hz"},
        {"cut.m4a", dataFile("lc-mono.m4a").substr(0, 900), "(moov)"},
        {"lossless.m4a", m4aWith({{"mp4a", "alac"}}), "without AAC (it holds alac)"},
        {"locked.m4a", m4aWith({{"mp4a", "enca"}}), "encrypted"},
        {"pieces.m4a", m4aWith({{"stsz", "free"}, {"udta", "mvex"}}), "in fragments"},
        {"broken.m4a", m4aWith({{"stsz", "free"}}), "is damaged"},
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
    expectRefused({"--start", "0:01", "-o", "raw:-", kSamples + "tune-lossless.wma"}, 1,
                  kSamples + "tune-lossless.wma", "a lossless file plays from the beginning only");
    std::string const adts = AVR_TEST_DATA "/lc-mono.aac";
    expectRefused({"--start", "0:01", "-o", "raw:-", adts}, 1, adts, "only MP4 files can be");
    std::string const pipe = testFile("pipe.mp3");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
    std::thread writer([&] { store(pipe, dataFile("cbr.mp3")); });
    expectRefused({"--start", "0:01", "-o", "raw:-", pipe}, 1, pipe, "cannot be positioned");
    writer.join();
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
