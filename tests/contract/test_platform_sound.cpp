// What any platform's sound device keeps to.
#include "PlatformUnderTest.h"
#include "platform/SoundDeviceThread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using namespace avr::test;
using Avr::Player::soundDeviceThread;

namespace {

soundDeviceThread& device() { return *soundDeviceThread::getInstance(); }

bool completesSoon()
{
    for (int i = 0; i < 2000 && !device().isPlaybackCompleted(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return device().isPlaybackCompleted();
}

} // namespace

TEST(PlatformSound, OneDeviceForTheProcess)
{
    ASSERT_NE(nullptr, soundDeviceThread::getInstance());
    EXPECT_EQ(soundDeviceThread::getInstance(), soundDeviceThread::getInstance());
}

TEST(PlatformSound, CompletesOnlyWithTheMarkAndWhenAllIsHeard)
{
    beginSound();
    EXPECT_FALSE(device().getEofMark());
    EXPECT_FALSE(device().isPlaybackCompleted());
    auto const start = std::chrono::steady_clock::now();
    queueSound(150);
    device().putEofMark(true);
    EXPECT_TRUE(device().getEofMark());
    EXPECT_TRUE(completesSoon());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(140));
    device().putEofMark(false);
    EXPECT_FALSE(device().isPlaybackCompleted());
}

TEST(PlatformSound, NothingQueuedIsCompleteAtOnce)
{
    beginSound();
    device().putEofMark(true);
    EXPECT_TRUE(completesSoon());
}

TEST(PlatformSound, NeverCompletesWhilePaused)
{
    beginSound();
    queueSound(30);
    pauseSound(true);
    device().putEofMark(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    EXPECT_FALSE(device().isPlaybackCompleted());
    pauseSound(false);
    EXPECT_TRUE(completesSoon());
}

TEST(PlatformSound, ASeekTakesTheMarkAndTheSoundAway)
{
    beginSound();
    queueSound(60000);
    device().putEofMark(true);
    discardSound();
    EXPECT_FALSE(device().getEofMark());
    device().putEofMark(true);
    EXPECT_TRUE(completesSoon()); // not in a minute
}
