#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

using namespace avr::test;

namespace {

constexpr const char* kLeft = "\x1b[D";
constexpr const char* kRight = "\x1b[C";

std::string minute() { return writeFile("minute.wav", wave(noise(60 * 16000), 8000, 1)); }

TEST(Live, AnInterruptedRunLeavesAWholeFile)
{
    std::string const out = testFile("interrupted.wav");
    PlayerProcess player({"--realtime", "-o", "wav:" + out, minute()});
    ASSERT_TRUE(player.until([&] { return contentOf(out).size() > 12000; }));
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
    int writer = -1;
    for (Words const& command : {Words{"-v", "--probe", pipe}, Words{"-v", "-o", "null", pipe},
                                 Words{"-v", "-o", "raw:" + pipe, minute()}}) {
        std::string const head = contentOf(minute()).substr(0, 6000);
        bool const begins = command[1] != "--probe"; // that one waits for the first byte
        if (begins && command.back() == pipe) {
            ASSERT_EQ(write(writer, head.data(), head.size()), ssize_t(head.size()));
        }
        PlayerProcess player(command);
        if (begins) {
            ASSERT_TRUE(player.waitFor("Open()] called"));
        } else { // nobody can write without waiting before it has begun to read
            int first = -1;
            ASSERT_TRUE(player.until(
                [&] { return (first = open(pipe.c_str(), O_WRONLY | O_NONBLOCK)) >= 0; }));
            writer = open(pipe.c_str(), O_RDWR);
            close(first);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        player.signal(SIGTERM);
        EXPECT_EQ(player.finish().exit, 130) << command[1];
    }
    close(writer);
}

TEST(Live, KeysPauseAndSeekAndAreHeardAtOnce)
{
    std::string const out = testFile("jump.wav");
    std::string const whole = noise(60 * 16000);
    std::string const next = writeFile("next.wav", wave(noise(31 * 16000), 8000, 1));
    PlayerProcess player({"--realtime", "-o", "wav:" + out, minute(), next}, true);
    ASSERT_TRUE(player.waitFor("playing  0:0"));
    player.type(kRight);
    ASSERT_TRUE(player.waitFor("playing  0:1"));
    // The track's eleventh second comes ten seconds early: nothing that was queued is played.
    std::size_t from = 0, at = 0;
    ASSERT_TRUE(player.until([&] {
        std::string const audio = contentOf(out).substr(44);
        from = audio.size() - std::min<std::size_t>(audio.size(), 1000);
        at = whole.find(audio.substr(from));
        return at != std::string::npos && at > 10U * 16000;
    }));
    EXPECT_GT(at - from, 8U * 16000);
    EXPECT_LE(at - from, 10U * 16000);
    player.type(" ");
    ASSERT_TRUE(player.waitFor("paused   0:1"));
    auto const held = contentOf(out).size();
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    EXPECT_LT(contentOf(out).size(), held + 4000);
    player.type(kLeft);
    ASSERT_TRUE(player.waitFor("paused   0:0"));
    player.type(" ");
    ASSERT_TRUE(player.waitFor("playing  0:0"));
    for (int i = 0; i < 6; ++i)
        player.type(kRight); // past the end
    ASSERT_TRUE(player.waitFor("/ 0:31"));
    player.type("q");
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Live, TheTerminalIsAsBeforeOnEveryWayOut)
{
    for (std::string const way : {"q", "\x03", "\x1a"}) {
        PlayerProcess player({"-o", "null", minute()}, true);
        ASSERT_TRUE(player.waitFor("playing  0:0"));
        EXPECT_FALSE(player.terminalIsNormal());
        player.type(way);
        if (way == "\x1a") { // Ctrl-Z
            EXPECT_TRUE(player.until([&] { return player.terminalIsNormal(); }));
            EXPECT_TRUE(player.until([&] { // the first may come before it has stopped
                player.signal(SIGCONT);
                return !player.terminalIsNormal();
            }));
            player.type("q");
        }
        Outcome const outcome = player.finish();
        EXPECT_EQ(outcome.exit, way == "\x03" ? 130 : 0);
        EXPECT_TRUE(outcome.terminalNormal) << way;
    }
}

} // namespace
