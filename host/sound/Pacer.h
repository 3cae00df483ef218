#pragma once

#include "ISoundSink.h"
#include "Sinks.h"

#include <chrono>

namespace avr { namespace host {

/// Plays the part of a device's buffer for sinks that have no clock: it takes PCM as fast as it
/// would be heard. Without pace it takes everything at once.
class Pacer {
public:
    using Clock = std::chrono::steady_clock;
    using Now = Clock::time_point (*)();

    explicit Pacer(Pace pace, Now now = &Clock::now);

    /// Called for every run; a run of the same format goes on where the last one is.
    void open(PcmFormat const& format);
    /// How many of these bytes may be taken now, in whole frames. Small amounts wait until there
    /// is room for more, so that the caller is not woken for every few frames.
    std::size_t room(std::size_t bytes) const;
    void took(std::size_t bytes);
    /// True when everything taken would have been heard.
    bool drained() const { return held() == 0; }
    void pause(bool paused);
    void discard();

private:
    std::uint64_t held() const;

    Pace m_pace;
    Now m_now;
    PcmFormat m_format;
    Clock::time_point m_start; ///< when the first of m_taken was heard
    Clock::time_point m_pausedAt;
    bool m_paused = false;
    std::uint64_t m_taken = 0; ///< frames since m_start
};

}} // namespace avr::host
