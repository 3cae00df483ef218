#pragma once

#include "platform/SoundDeviceThread.h"

#include <chrono>
#include <cstdint>
#include <mutex>

namespace tiny {

/// A sound output that counts frames in the place of playing them. It keeps nothing of them but the
/// moment at which the last one would be over, so it needs neither a queue nor a thread.
class AVR_API CountingSink final : public Avr::Player::soundDeviceThread {
public:
    static CountingSink& instance();

    // For the player.

    /// In OnEvent(2). @param rate  frames that are heard in a second; 0: all at once
    void begin(unsigned int rate);
    /// In OnSample.
    void put(unsigned int frames);
    void pause(bool on);
    /// In OnEvent(10): what was put is not heard, and the end mark is taken away.
    void discard();
    /// All that was put since begin.
    std::uint64_t frames() const;

    void putEofMark(bool mark) override;
    bool getEofMark() override;
    bool isPlaybackCompleted() override;

private:
    using Clock = std::chrono::steady_clock;

    mutable std::mutex m_lock; ///< guards what follows
    std::uint64_t m_frames = 0;
    unsigned int m_rate = 0;
    bool m_mark = false;
    bool m_paused = false;
    Clock::time_point m_over; ///< when all will have been heard
    Clock::time_point m_pausedAt;
};

} // namespace tiny
