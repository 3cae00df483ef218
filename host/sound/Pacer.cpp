#include "Pacer.h"

#include <algorithm>

namespace avr { namespace host {

namespace {

/// 200 ms of frames, like a device's buffer.
std::uint64_t capacity(PcmFormat const& format)
{
    return std::max<std::uint64_t>(format.rate / 5, 1);
}

/// In two parts, so that days of playing do not overflow.
std::uint64_t framesIn(Pacer::Clock::duration time, std::uint64_t rate)
{
    const auto whole = std::chrono::duration_cast<std::chrono::seconds>(time);
    const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(time - whole);
    return std::uint64_t(whole.count()) * rate + std::uint64_t(rest.count()) * rate / 1000000000u;
}

} // namespace

Pacer::Pacer(Pace pace, Now now) : m_pace(pace), m_now(now) {}

void Pacer::open(PcmFormat const& format)
{
    if (m_format != format)
        discard();
    m_format = format;
}

std::size_t Pacer::room(std::size_t bytes) const
{
    const std::uint64_t frames = bytes / m_format.frameBytes();
    if (m_pace == Pace::AsFastAsPossible)
        return std::size_t(frames) * m_format.frameBytes();
    const std::uint64_t most = capacity(m_format);
    const std::uint64_t fits = std::min(frames, most - std::min(most, held()));
    return fits < std::min(frames, most / 4) ? 0 : std::size_t(fits) * m_format.frameBytes();
}

void Pacer::took(std::size_t bytes)
{
    if (m_pace == Pace::AsFastAsPossible)
        return;
    // Run dry: time that passed without PCM is not made up for.
    if (held() == 0)
        discard();
    m_taken += bytes / m_format.frameBytes();
}

void Pacer::pause(bool paused)
{
    if (paused)
        m_pausedAt = m_now();
    else
        m_start += m_now() - m_pausedAt;
    m_paused = paused;
}

void Pacer::discard()
{
    m_taken = 0;
    m_start = m_paused ? m_pausedAt : m_now();
}

/// Frames taken and not heard yet.
std::uint64_t Pacer::held() const
{
    if (m_taken == 0)
        return 0;
    const Clock::duration heard = (m_paused ? m_pausedAt : m_now()) - m_start;
    return m_taken - std::min(m_taken, framesIn(heard, m_format.rate));
}

}} // namespace avr::host
