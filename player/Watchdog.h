#pragma once

#include <algorithm>
#include <chrono>

namespace avr { namespace player {

/// Tells when a run has shown no sign of life for long. Time in which nobody looked, because of a
/// pause or a stop (Ctrl-Z), hardly counts.
class Watchdog {
public:
    using Clock = std::chrono::steady_clock;

    Watchdog(Clock::duration limit, Clock::time_point now) : m_limit(limit), m_lookedAt(now) {}

    /// Nothing is expected now.
    void rest(Clock::time_point now)
    {
        m_silent = Clock::duration(0);
        m_lookedAt = now;
    }
    std::chrono::seconds limit() const
    {
        return std::chrono::duration_cast<std::chrono::seconds>(m_limit);
    }
    /// @param signs  counts the signs of life
    /// @return true once it was silent for the whole limit
    bool isSilent(unsigned long long signs, Clock::time_point now)
    {
        Clock::duration const longest = std::chrono::seconds(2);
        m_silent =
            signs == m_signs ? m_silent + std::min(now - m_lookedAt, longest) : Clock::duration(0);
        m_signs = signs;
        m_lookedAt = now;
        return m_silent > m_limit;
    }

private:
    Clock::duration const m_limit;
    Clock::time_point m_lookedAt;
    Clock::duration m_silent{0};
    unsigned long long m_signs = 0;
};

}} // namespace avr::player
