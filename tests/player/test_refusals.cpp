#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <sys/stat.h>

using namespace avr::test;

namespace {

/// One line, with these words in it.
void expectOneLine(Outcome const& outcome, std::string const& first, std::string const& words)
{
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(outcome.err.find("avrplay: " + first), 0U) << outcome.err;
    EXPECT_NE(outcome.err.find(words), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "");
}

struct BadFile {
    const char* name;
    std::string bytes;
    const char* words;
};

TEST(Refusal, EveryBadFileGetsOneLineThatSaysWhy)
{
    Wave const good{1, 44100, 2, 16, noise(40000)};
    Wave floats = good, law = good, nibbles = good, few = good, twelve = good;
    floats.tag = 3;
    law.tag = 6;
    nibbles.bits = 4;
    twelve.channels = 0;
    few.pcm.resize(4090);
    std::string extensible = good.bytes();
    extensible[20] = '\xFE';
    extensible[21] = '\xFF';
    extensible.replace(16, 1, "\x28")
        .insert(36, littleEndian(22, 2) + littleEndian(16, 2) + littleEndian(3, 4) +
                        littleEndian(3, 2) + std::string(14, '\0'));
    BadFile const files[] = {
        {"empty.wav", "", "empty"},
        {"text.wav", std::string(9000, 'a'), "not a WAVE file"},
        {"short-text.wav", "hello\n", "not a WAVE file"},
        {"notes.txt", "hello\n", "-f"},
        {"avi.wav", "RIFF" + littleEndian(9000, 4) + "AVI " + noise(9000), "not WAVE"},
        {"cut.wav", good.bytes().substr(0, 30), "cut off"},
        {"cut-later.wav", good.bytes().substr(0, 40), "cut off"},
        {"short.wav", good.bytes().substr(0, 4000), "too short"},
        {"no-block.wav", few.bytes(), "too short"},
        {"floats.wav", floats.bytes(), "floating-point"},
        {"extensible-floats.wav", extensible, "floating-point"},
        {"law.wav", law.bytes(), "A-law"},
        {"nibbles.wav", nibbles.bytes(), "plays 8, 16, 24 and 32 bits"},
        {"mute.wav", twelve.bytes(), "plays 8, 16, 24 and 32 bits"},
        {"song.mp3", noise(9000), "not built in"},
    };
    for (BadFile const& file : files) {
        SCOPED_TRACE(file.name);
        std::string const path = writeFile(file.name, file.bytes);
        Outcome const outcome = play({path});
        EXPECT_EQ(outcome.exit, 1);
        expectOneLine(outcome, path + ": ", file.words);
    }
}

TEST(Refusal, WhatIsNoFileGetsOneLineToo)
{
    mkdir(testFile("folder").c_str(), 0777);
    struct {
        std::string name;
        const char* words;
    } const names[] = {{testFile("nosuch.wav"), "no such file"},
                       {testFile("folder"), "a directory"},
                       {"http://localhost/a.mp3", "network addresses are not supported yet"},
                       {"", "no such file"}};
    for (auto const& it : names) {
        SCOPED_TRACE(it.name);
        Outcome const outcome = play({it.name});
        EXPECT_EQ(outcome.exit, 1);
        expectOneLine(outcome, it.name + ": ", it.words);
    }
}

TEST(Refusal, WrongUsageIsExitTwo)
{
    std::string const wav = writeFile("usage.wav", Wave{1, 44100, 2, 16, noise(40000)}.bytes());
    Words const commands[] = {{},
                              {"--bogus", wav},
                              {"-o", "speaker", wav},
                              {"-o", "wav:", wav},
                              {"-o", "wav:" + wav, wav},
                              {"--pcm", "44100:24:2", wav},
                              {"--pcm", "44100:16", wav},
                              {"--pcm", "0:16:2", wav},
                              {"--start", "1:75", wav},
                              {"--start", "-1", wav},
                              {"--start", "1e3", wav},
                              {"-f", "nosuch", wav},
                              {"--realtime", "--no-realtime", wav}};
    for (Words const& command : commands) {
        SCOPED_TRACE(testing::PrintToString(command));
        Outcome const outcome = play(command);
        EXPECT_EQ(outcome.exit, 2);
        expectOneLine(outcome, "", "");
    }
    EXPECT_EQ(readFile(wav).size(), 40044U);
}

TEST(Refusal, AnOutputThatCannotBeOpened)
{
    std::string const wav = writeFile("output.wav", Wave{1, 44100, 2, 16, noise(40000)}.bytes());
    Outcome const device = play({"-o", "alsa:nosuchdevice", wav});
    EXPECT_EQ(device.exit, 3);
    expectOneLine(device, "", "\"nosuchdevice\"");
    Outcome const file = play({"-o", "wav:" + testFile("no/such/folder.wav"), wav});
    EXPECT_EQ(file.exit, 1);
    expectOneLine(file, wav, "no/such/folder.wav");
    Outcome const full = play({"-q", "-o", "wav:/dev/full", wav});
    EXPECT_EQ(full.exit, 1);
    expectOneLine(full, wav, "/dev/full");
}

TEST(Help, FitsIntoATerminalAndNamesEveryOption)
{
    Outcome const help = play({"--help"});
    EXPECT_EQ(help.exit, 0);
    std::istringstream lines(help.out);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80U) << line;
    for (const char* option :
         {"--output", "--format", "--pcm", "--start", "--realtime", "--no-realtime", "--probe",
          "--json", "--events", "--formats", "--quiet", "--verbose", "--version", "--help"})
        EXPECT_NE(help.out.find(option), std::string::npos) << option;
}

} // namespace
