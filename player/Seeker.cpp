#include "Seeker.h"

#include <utility>

namespace avr { namespace player {

void Seeker::request(Position const& position)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    if (m_now) {
        m_next = position;
        return;
    }
    finish(); // it no longer needs the lock
    m_thread = std::thread([this] { run(); });
    m_now = position;
}

std::optional<Seeker::Position> Seeker::target() const
{
    std::lock_guard<std::mutex> const guard(m_lock);
    return m_next ? m_next : m_now;
}

void Seeker::cancel()
{
    std::lock_guard<std::mutex> const guard(m_lock);
    m_next.reset();
}

void Seeker::finish()
{
    if (m_thread.joinable())
        m_thread.join();
}

void Seeker::run()
{
    std::unique_lock<std::mutex> lock(m_lock);
    while (m_now) {
        Position const position = *m_now;
        lock.unlock();
        m_seek(position);
        lock.lock();
        m_now = std::exchange(m_next, std::nullopt);
    }
}

}} // namespace avr::player
