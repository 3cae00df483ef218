#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <sstream>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

using namespace avr::test;
using std::chrono::milliseconds;

namespace {

constexpr auto kTerminal = PlayerProcess::On::Terminal;
constexpr const char* kLeft = "\x1b[D";
constexpr const char* kRight = "\x1b[C";

/// A second, and another that a sanitizer takes to end.
constexpr milliseconds kPrompt{2000};

/// So many seconds of 8 kHz mono.
std::string tune(std::string const& name, unsigned seconds)
{
    return writeFile(name, Wave{1, 8000, 1, 16, noise(16000 * seconds)}.bytes());
}

/// What the status line showed last.
std::string lastStatus(std::string const& screen) { return screen.substr(screen.rfind('\r') + 1); }

TEST(Live, AnInterruptedRunLeavesAWholeFile)
{
    for (int number : {SIGINT, SIGTERM}) {
        std::string const in = tune("long.wav", 60);
        std::string const out = testFile("interrupted.wav");
        PlayerProcess player({"--realtime", "-o", "wav:" + out, in});
        ASSERT_TRUE(player.waitFor("Playing"));
        player.listen(milliseconds(1200));
        player.signal(number);
        auto const asked = std::chrono::steady_clock::now();
        EXPECT_EQ(player.finish().exit, 130);
        EXPECT_LT(std::chrono::steady_clock::now() - asked, kPrompt);
        std::string const audio = audioOf(out);
        EXPECT_GT(audio.size(), 8000U); // half of what had its time
        EXPECT_LT(audio.size(), 48000U);
        EXPECT_TRUE(audio == noise(audio.size()));
    }
}

TEST(Live, AnInputOrOutputThatHangsDoesNotHoldTheProgram)
{
    std::string const pipe = testFile("pipe.wav");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
    int const writer = open(pipe.c_str(), O_RDWR);
    for (Words const& command : {Words{"--probe", pipe}, Words{"-o", "null", pipe},
                                 Words{"-o", "raw:" + pipe, tune("unread.wav", 60)}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        PlayerProcess player(command);
        player.listen(milliseconds(500));
        player.signal(SIGTERM);
        auto const asked = std::chrono::steady_clock::now();
        EXPECT_EQ(player.finish().exit, 130);
        EXPECT_LT(std::chrono::steady_clock::now() - asked, kPrompt);
    }
    close(writer);
}

TEST(Live, PauseHoldsTheClockAndTheScreen)
{
    PlayerProcess player({"-o", "null", tune("pause.wav", 60)}, kTerminal);
    ASSERT_TRUE(player.waitFor("playing  0:01 / 1:00"));
    player.type(" ");
    ASSERT_TRUE(player.waitFor("paused "));
    player.listen(milliseconds(100));
    std::size_t const before = player.screen().size();
    player.listen(milliseconds(2500));
    EXPECT_EQ(player.screen().size(), before);
    player.type(" ");
    EXPECT_TRUE(player.waitFor("playing  0:0")) << player.screen();
    EXPECT_LT(lastStatus(player.screen()), "playing  0:03");
    player.type("q");
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Live, ArrowsSeek)
{
    PlayerProcess player({"-o", "null", tune("seek.wav", 60)}, kTerminal);
    ASSERT_TRUE(player.waitFor("playing  0:01"));
    player.type(std::string(kRight) + kRight);
    EXPECT_TRUE(player.waitFor("playing  0:22")) << player.screen();
    player.type(" ");
    ASSERT_TRUE(player.waitFor("paused   0:2"));
    player.type(kLeft);
    EXPECT_TRUE(player.waitFor("paused   0:1")) << player.screen();
    player.type(" ");
    EXPECT_TRUE(player.waitFor("playing  0:15")) << player.screen();
    for (int i = 0; i < 5; ++i)
        player.type(kRight); // past the end
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Live, ASeekIsHeardAtOnce)
{
    std::string const out = testFile("jump.wav");
    PlayerProcess player({"--realtime", "-o", "wav:" + out, tune("jump-in.wav", 60)}, kTerminal);
    ASSERT_TRUE(player.waitFor("playing  0:01"));
    player.type(kRight);
    ASSERT_TRUE(player.waitFor("playing  0:12"));
    player.type("q");
    EXPECT_EQ(player.finish().exit, 0);
    std::string const audio = audioOf(out);
    ASSERT_GT(audio.size(), 16000U);
    EXPECT_LT(audio.size(), 64000U);
    // The last of it is the track's twelfth second, and not what was queued before the key.
    std::size_t const at = noise(60 * 16000).find(audio.substr(audio.size() - 1000));
    EXPECT_GT(at, 11U * 16000);
    EXPECT_LT(at, 14U * 16000);
}

TEST(Live, NextAndPreviousWalkThroughTheList)
{
    std::string const one = tune("one.wav", 30);
    std::string const two = tune("two.wav", 31);
    PlayerProcess player({"-o", "null", one, two}, kTerminal);
    ASSERT_TRUE(player.waitFor("playing  0:00 / 0:30"));
    player.type("n");
    ASSERT_TRUE(player.waitFor("playing  0:03 / 0:31")) << player.screen();
    player.type("p"); // from its own beginning
    ASSERT_TRUE(player.waitFor("playing  0:00 / 0:31")) << player.screen();
    player.type("p");
    ASSERT_TRUE(player.waitFor("playing  0:00 / 0:30")) << player.screen();
    player.type("nn");
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Live, TheTerminalIsAsBeforeOnEveryWayOut)
{
    std::string const in = tune("restore.wav", 60);
    for (std::string const way : {"q", "\x03", "stop"}) {
        SCOPED_TRACE(way);
        PlayerProcess player({"-o", "null", in}, kTerminal);
        ASSERT_TRUE(player.waitFor("playing  0:01"));
        EXPECT_FALSE(player.terminalIsNormal());
        if (way == "stop") {
            player.type("\x1a");
            player.listen(milliseconds(500));
            EXPECT_TRUE(player.terminalIsNormal());
            player.signal(SIGCONT);
            player.listen(milliseconds(500));
            EXPECT_FALSE(player.terminalIsNormal());
        }
        player.type(way == "stop" ? "q" : way);
        Outcome const outcome = player.finish();
        EXPECT_EQ(outcome.exit, way == "\x03" ? 130 : 0);
        EXPECT_TRUE(outcome.terminalNormal);
    }
}

TEST(Live, TheStatusLineNeverWraps)
{
    for (int columns : {80, 40, 12}) {
        SCOPED_TRACE(columns);
        PlayerProcess player({"-o", "null", tune("narrow.wav", 60)}, kTerminal,
                             static_cast<unsigned short>(columns));
        ASSERT_TRUE(player.waitFor("playing  0"));
        player.listen(milliseconds(600));
        player.type("q");
        std::string const screen = player.finish().err;
        std::istringstream pieces(screen.substr(screen.find('\n') + 1));
        for (std::string piece; std::getline(pieces, piece, '\r');)
            EXPECT_LT(piece.substr(0, piece.find('\x1b')).size(), std::size_t(columns)) << piece;
    }
}

} // namespace
