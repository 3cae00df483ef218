#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace avr::test;

namespace {

Wave const kGood{1, 44100, 2, 16, noise(40000)};

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

/// The good file with another format tag, sample size or number of channels.
std::string wave(unsigned tag, unsigned channels, unsigned bits)
{
    return Wave{tag, kGood.rate, channels, bits, kGood.pcm}.bytes();
}

std::string extensibleFloats()
{
    std::string bytes = wave(0xFFFE, 2, 16);
    return bytes.replace(16, 1, "\x28")
        .insert(36, littleEndian(22, 2) + littleEndian(16, 2) + littleEndian(3, 4) +
                        littleEndian(3, 2) + std::string(14, '\0'));
}

TEST(Refusal, EveryBadFileGetsOneLineThatSaysWhy)
{
    struct {
        const char* name;
        std::string bytes;
        const char* words;
    } const files[] = {
        {"empty.wav", "", "empty"},
        {"text.wav", std::string(9000, 'a'), "not a WAVE file"},
        {"notes.txt", "hello\n", "-f"},
        {"avi.wav", "RIFF" + littleEndian(9000, 4) + "AVI " + noise(9000), "not WAVE"},
        {"cut.wav", kGood.bytes().substr(0, 30), "cut off"},
        {"cut-later.wav", kGood.bytes().substr(0, 40), "cut off"},
        {"short.wav", kGood.bytes().substr(0, 4000), "too short"},
        {"no-block.wav", kGood.bytes().substr(0, 4134), "too short"},
        {"floats.wav", wave(3, 2, 16), "floating-point"},
        {"extensible-floats.wav", extensibleFloats(), "floating-point"},
        {"law.wav", wave(6, 2, 16), "A-law"},
        {"nibbles.wav", wave(1, 2, 4), "plays 8, 16, 24 and 32 bits"},
        {"mute.wav", wave(1, 0, 16), "plays 8, 16, 24 and 32 bits"},
        {"song.mp3", noise(9000), "not built in"},
    };
    for (auto const& file : files) {
        std::string const path = writeFile(file.name, file.bytes);
        expectRefused({path}, 1, path + ": ", file.words);
    }
}

TEST(Refusal, WhatIsNoFileGetsOneLineToo)
{
    expectRefused({testFile("nosuch.wav")}, 1, testFile("nosuch.wav"), "no such file");
    expectRefused({testFile("")}, 1, testFile(""), "a directory");
    expectRefused({"http://localhost/a.mp3"}, 1, "http:", "not supported yet");
    expectRefused({""}, 1, ": ", "no such file");
}

TEST(Refusal, WrongUsageIsExitTwo)
{
    std::string const wav = writeFile("usage.wav", kGood.bytes());
    for (Words const& command : {Words{},
                                 {"--bogus", wav},
                                 {"-o", "speaker", wav},
                                 {"-o", "wav:", wav},
                                 {"-o", "wav:" + wav, wav},
                                 {"--pcm", "44100:24:2", wav},
                                 {"--pcm", "44100:16", wav},
                                 {"--pcm", "0:16:2", wav},
                                 {"--start", "1:75", wav},
                                 {"--start", "-1", wav},
                                 {"-f", "nosuch", wav},
                                 {"--realtime", "--no-realtime", wav}})
        expectRefused(command, 2, "", "");
    EXPECT_TRUE(readFile(wav) == kGood.bytes());
}

TEST(Refusal, AnOutputThatCannotBeOpened)
{
    std::string const wav = writeFile("output.wav", kGood.bytes());
    expectRefused({"-o", "alsa:nosuchdevice", wav}, 3, "", "\"nosuchdevice\"");
    expectRefused({"-o", "wav:" + testFile("no/folder.wav"), wav}, 1, wav, "no/folder.wav");
    expectRefused({"-q", "-o", "wav:/dev/full", wav}, 1, wav, "/dev/full");
}

} // namespace
