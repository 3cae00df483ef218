#include "PlayClock.h"

#include "Text.h"

namespace avr { namespace player {

void PlayClock::begin(double bytesPerSecond)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    m_bytesPerSecond = bytesPerSecond;
}

void PlayClock::delivered(unsigned int bytes)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    m_delivered += bytes;
}

unsigned long long PlayClock::bytesDelivered() const
{
    std::lock_guard<std::mutex> const guard(m_lock);
    return m_delivered;
}

void PlayClock::dropped(unsigned long long taken, kiv::appli::TimeSpec const& position)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    m_deliveredAtDrop = m_delivered;
    m_before = m_delivered - m_deliveredAtBase;
    m_takenAtDrop = taken;
    m_requested = toSeconds(position);
}

void PlayClock::moved()
{
    std::lock_guard<std::mutex> const guard(m_lock);
    m_base = m_requested;
    m_deliveredAtBase = m_deliveredAtDrop;
    m_before = 0;
}

double PlayClock::seconds(unsigned long long taken) const
{
    std::lock_guard<std::mutex> const guard(m_lock);
    if (m_bytesPerSecond <= 0 || taken < m_takenAtDrop)
        return m_base;
    return m_base + double(m_before + (taken - m_takenAtDrop)) / m_bytesPerSecond;
}

}} // namespace avr::player
