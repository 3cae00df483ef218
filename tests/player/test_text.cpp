#include "Display.h"
#include "Text.h"
#include "Watchdog.h"

#include <gtest/gtest.h>

using namespace avr::player;

TEST(Text, IsCutByTheColumnsThatItTakes)
{
    struct {
        std::string text;
        std::size_t columns;
        std::string cut;
    } const cases[] = {
        {"abcdef", 3, "abc"},
        {"größer", 4, "größ"},
        {"日本語", 5, "日本"},
        {"e\u0301tude", 2, "e\u0301t"},
        {"x\U0001F3B5y", 3, "x\U0001F3B5"},
        {"– Жанна", 3, "– Ж"},
        {"\xE9t\xE9", 2, "\xE9t"},
        {"日\xE6\x97", 3, "日\xE6\x97"},
        {"", 9, ""},
    };
    for (auto const& it : cases)
        EXPECT_EQ(cutToColumns(it.text, it.columns), it.cut);
}

TEST(Text, NothingInItMovesTheCursorOrTurnsTheLine)
{
    EXPECT_EQ(printable("a\x1b[2Jb\x07\xC2\x9B\u202Ec\u2066d\u00E9日\u0301"),
              "a?[2Jb???c?dé日\u0301");
}

TEST(Watchdog, CountsOnlyTheTimeThatSomebodyWatched)
{
    using std::chrono::seconds;
    Watchdog::Clock::time_point now{};
    Watchdog watchdog(seconds(30), now);
    auto const after = [&](int time, unsigned long long signs) {
        return watchdog.isSilent(signs, now += seconds(time));
    };
    EXPECT_FALSE(after(1, 5));
    EXPECT_FALSE(after(3600, 5)) << "it was stopped, or paused";
    for (int i = 0; i < 28; ++i)
        EXPECT_FALSE(after(1, 5)) << i;
    watchdog.rest(now);
    for (int i = 0; i < 30; ++i)
        EXPECT_FALSE(after(1, 5)) << i;
    EXPECT_TRUE(after(1, 5));
    EXPECT_FALSE(after(1, 6));
}

TEST(Text, ANarrowTerminalKeepsWhatMattersMost)
{
    Status status;
    status.state = Status::State::Playing;
    status.elapsed = 61;
    status.info.duration = 200;
    status.info.pcm = {44100, 2, 2};
    status.info.codec = "mp3";
    status.title = "Foo - Bar";
    std::string const wide = statusText(status, 120);
    EXPECT_NE(wide.find("1:01 / 3:20"), std::string::npos);
    EXPECT_LT(wide.find("Foo - Bar"), wide.find("mp3"));
    EXPECT_EQ(statusText(status, 9), "playing  ");
    for (std::size_t columns = 0; columns < 120; ++columns)
        EXPECT_LE(statusText(status, columns).size(), columns);
}
