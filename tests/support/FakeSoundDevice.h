#pragma once

#include "platform/SoundDeviceThread.h"

#include <atomic>
#include <functional>

namespace avr { namespace test {

/// The sound output of the tests that do not link the host's: it completes when it is told to.
class FakeSoundDevice final : public Avr::Player::soundDeviceThread {
public:
    static FakeSoundDevice& instance();

    void putEofMark(bool mark) override
    {
        m_mark = mark;
        if (mark)
            ++marksPut;
    }
    bool getEofMark() override { return m_mark; }
    bool isPlaybackCompleted() override
    {
        bool const answer = m_mark && completes;
        if (onAsked)
            onAsked();
        return answer;
    }

    /// As a player does in OnEvent(2).
    void beginRun()
    {
        m_mark = false;
        marksPut = 0;
        completes = true;
    }

    std::atomic<bool> completes{true};
    std::function<void()> onAsked; ///< runs inside isPlaybackCompleted
    std::atomic<int> marksPut{0};

private:
    std::atomic<bool> m_mark{false};
};

}} // namespace avr::test
