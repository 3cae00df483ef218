#include "CountingSink.h"

#include <algorithm>

namespace tiny {

using Lock = std::lock_guard<std::mutex>;

CountingSink& CountingSink::instance()
{
    static CountingSink sink;
    return sink;
}

void CountingSink::begin(unsigned int rate)
{
    Lock guard(m_lock);
    m_frames = 0;
    m_rate = rate;
    m_mark = m_paused = false;
    m_over = Clock::now();
}

void CountingSink::put(unsigned int frames)
{
    Lock guard(m_lock);
    m_frames += frames;
    if (m_rate == 0)
        return;
    Clock::time_point const now = m_paused ? m_pausedAt : Clock::now();
    auto const playing = std::chrono::nanoseconds(std::uint64_t{frames} * 1000000000 / m_rate);
    m_over = std::max(m_over, now) + std::chrono::duration_cast<Clock::duration>(playing);
}

void CountingSink::pause(bool on)
{
    Lock guard(m_lock);
    if (on && !m_paused)
        m_pausedAt = Clock::now();
    else if (!on && m_paused)
        m_over += Clock::now() - m_pausedAt;
    m_paused = on;
}

void CountingSink::discard()
{
    Lock guard(m_lock);
    m_mark = false;
    m_over = m_paused ? m_pausedAt : Clock::now();
}

std::uint64_t CountingSink::frames() const
{
    Lock guard(m_lock);
    return m_frames;
}

void CountingSink::putEofMark(bool mark)
{
    Lock guard(m_lock);
    m_mark = mark;
}

bool CountingSink::getEofMark()
{
    Lock guard(m_lock);
    return m_mark;
}

bool CountingSink::isPlaybackCompleted()
{
    Lock guard(m_lock);
    return m_mark && !m_paused && Clock::now() >= m_over;
}

} // namespace tiny

Avr::Player::soundDeviceThread* Avr::Player::soundDeviceThread::getInstance()
{
    return &tiny::CountingSink::instance();
}
