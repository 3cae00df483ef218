#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

using namespace avr::test;

namespace {

constexpr unsigned short kColumns = 80;
constexpr const char* kLeft = "\x1b[D";
constexpr const char* kRight = "\x1b[C";

/// So many seconds of 8 kHz mono.
std::string tune(unsigned seconds)
{
    return writeFile(std::to_string(seconds) + ".wav",
                     Wave{1, 8000, 1, 16, noise(16000 * seconds)}.bytes());
}

TEST(Live, AnInterruptedRunLeavesAWholeFile)
{
    std::string const out = testFile("interrupted.wav");
    PlayerProcess player({"--realtime", "-o", "wav:" + out, tune(60)});
    ASSERT_TRUE(player.waitFor("Playing"));
    ASSERT_TRUE(player.until([&] { return readFile(out).size() > 12000; }));
    player.signal(SIGINT);
    EXPECT_EQ(player.finish().exit, 130);
    std::string const audio = audioOf(out);
    EXPECT_LT(audio.size(), 60U * 16000);
    EXPECT_TRUE(audio == noise(audio.size()));
}

TEST(Live, AnInputOrOutputThatHangsDoesNotHoldTheProgram)
{
    std::string const pipe = testFile("pipe.wav");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
    int const writer = open(pipe.c_str(), O_RDWR);
    for (Words const& command : {Words{"-v", "--probe", pipe}, Words{"-v", "-o", "null", pipe},
                                 Words{"-v", "-o", "raw:" + pipe, tune(60)}}) {
        PlayerProcess player(command);
        ASSERT_TRUE(player.waitFor("Open()] called"));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        player.signal(SIGTERM);
        EXPECT_EQ(player.finish().exit, 130) << command[1];
    }
    close(writer);
}

TEST(Live, PauseHoldsTheClock)
{
    PlayerProcess player({"-o", "null", tune(60)}, kColumns);
    ASSERT_TRUE(player.waitFor("playing  0:0"));
    player.type(" ");
    ASSERT_TRUE(player.waitFor("paused   0:"));
    ASSERT_TRUE(player.until([&] { return player.rest().size() >= 2; }));
    int const before = std::stoi(player.rest());
    std::this_thread::sleep_for(std::chrono::milliseconds(2200));
    player.type(" ");
    ASSERT_TRUE(player.waitFor("playing  0:"));
    ASSERT_TRUE(player.until([&] { return player.rest().size() >= 2; }));
    EXPECT_LE(std::stoi(player.rest()), before + 1);
    player.type("q");
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Live, ArrowsSeekAndAreHeardAtOnce)
{
    std::string const out = testFile("jump.wav");
    std::string const whole = noise(60 * 16000);
    PlayerProcess player({"--realtime", "-o", "wav:" + out, tune(60)}, kColumns);
    ASSERT_TRUE(player.waitFor("playing  0:0"));
    player.type(kRight);
    ASSERT_TRUE(player.waitFor("playing  0:1"));
    // The track's eleventh second comes ten seconds early: nothing that was queued is played.
    std::size_t from = 0, at = 0;
    ASSERT_TRUE(player.until([&] {
        std::string const audio = readFile(out).substr(44);
        from = audio.size() - std::min<std::size_t>(audio.size(), 1000);
        at = whole.find(audio.substr(from));
        return at != std::string::npos && at > 10U * 16000;
    }));
    EXPECT_GT(at - from, 8U * 16000);
    EXPECT_LE(at - from, 10U * 16000);
    player.type(" ");
    ASSERT_TRUE(player.waitFor("paused   0:1"));
    player.type(kLeft);
    ASSERT_TRUE(player.waitFor("paused   0:0"));
    player.type(" ");
    ASSERT_TRUE(player.waitFor("playing  0:0"));
    for (int i = 0; i < 6; ++i)
        player.type(kRight); // past the end
    EXPECT_EQ(player.finish().exit, 0);
    audioOf(out);
}

TEST(Live, NextAndPreviousWalkThroughTheList)
{
    PlayerProcess player({"-o", "null", tune(60), tune(31)}, kColumns);
    ASSERT_TRUE(player.waitFor("playing  0:00 / 1:00"));
    player.type("n");
    ASSERT_TRUE(player.waitFor("playing  0:00 / 0:31"));
    player.type(kRight);
    ASSERT_TRUE(player.waitFor("playing  0:1"));
    player.type("p"); // from its own beginning
    ASSERT_TRUE(player.waitFor("playing  0:00 / 0:31"));
    player.type("p");
    ASSERT_TRUE(player.waitFor("playing  0:00 / 1:00"));
    player.type("nn");
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Live, TheTerminalIsAsBeforeOnEveryWayOut)
{
    for (std::string const way : {"q", "\x03", "\x1a"}) {
        PlayerProcess player({"-o", "null", tune(60)}, kColumns);
        ASSERT_TRUE(player.waitFor("playing  0:0"));
        EXPECT_FALSE(player.terminalIsNormal());
        player.type(way);
        if (way == "\x1a") { // Ctrl-Z
            ASSERT_TRUE(player.waitForStop());
            EXPECT_TRUE(player.terminalIsNormal());
            player.signal(SIGCONT);
            ASSERT_TRUE(player.until([&] { return !player.terminalIsNormal(); }));
            player.type("q");
        }
        Outcome const outcome = player.finish();
        EXPECT_EQ(outcome.exit, way == "\x03" ? 130 : 0);
        EXPECT_TRUE(outcome.terminalNormal) << way;
    }
}

TEST(Live, TheStatusLineNeverWraps)
{
    for (unsigned short columns : {40, 12}) {
        PlayerProcess player({"-o", "null", tune(60)}, columns);
        ASSERT_TRUE(player.waitFor("playing  0"));
        player.type("q");
        std::string const screen = player.finish().err;
        std::istringstream pieces(screen.substr(screen.find('\n') + 1));
        for (std::string piece; std::getline(pieces, piece, '\r');)
            EXPECT_LT(piece.substr(0, piece.find('\x1b')).size(), columns) << piece;
    }
}

} // namespace
