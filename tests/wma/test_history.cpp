#include "DecoderHistory.h"
#include "WmaSelector.h"

#include <gtest/gtest.h>

#include <thread>

using namespace kiv::appli;

namespace {

using Names = std::vector<const char*>;

struct {
    Names names;
    std::string first, majority;
} const Histories[] = {
    {{}, "wmastd", "wmalsl"},
    {{"mp3"}, "wmalsl", "wmalsl"},
    {{"wmastd"}, "wmastd", "wmastd"},
    {{"wmalsl", "wmalsl", "wmastd"}, "wmastd", "wmalsl"},
    {{"wmastd", "wmastd", "wmalsl"}, "wmalsl", "wmastd"},
    {{"wmastd", "wmalsl", "mp3"}, "wmalsl", "wmalsl"},
    {{"wmastd", "wmalsl", "mp3", "wmastd", "WMALSL"}, "wmastd", "wmastd"},
};

} // namespace

TEST(DecoderHistory, TheLastEntryCountsOrElseTheMajority)
{
    for (auto const& each : Histories) {
        DecoderHistory history;
        for (const char* name : each.names)
            history.add(name);
        EXPECT_EQ(each.first, history.firstKind()) << testing::PrintToString(each.names);
        EXPECT_EQ(each.majority, history.majority());
    }
}

TEST(DecoderHistory, KeepsTheLast101EntriesOfTheProcess)
{
    VWMADecoder selector, another;
    DecoderHistory& history = DecoderHistory::instance();
    history.clear();
    for (int i = 0; i < 50; ++i)
        selector.SetDecoderHistory("wmastd");
    for (int i = 0; i < 49; ++i)
        selector.SetDecoderHistory("wmalsl");
    another.SetDecoderHistory("ogg");
    selector.SetDecoderHistory("");
    EXPECT_EQ(101u, history.size());
    EXPECT_EQ("wmastd", another.AnalysisHistory());
    selector.SetDecoderHistory("mp3"); // an old "wmastd" goes
    EXPECT_EQ(101u, history.size());
    EXPECT_EQ("wmalsl", another.AnalysisHistory());
    history.clear();
}

TEST(DecoderHistory, LookupsComeFromAnyThread)
{
    DecoderHistory history;
    std::vector<std::thread> threads;
    for (const char* name : {"wmastd", "mp3", "wmalsl"})
        threads.emplace_back([&history, name] {
            for (int i = 0; i < 500; ++i) {
                history.add(name);
                EXPECT_FALSE(history.firstKind().empty());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(101u, history.size());
}
