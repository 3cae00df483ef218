#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace avr { namespace host {

/// A ring of bytes with one reading position: what is ahead of it waits to be read, what is behind
/// it (the history) may be read again. It grows with the data. Not thread-safe; but memory given
/// by reserve stays valid, whatever the reader does, until commit.
class RingBuffer {
public:
    /// @param historyLimit  bytes kept behind the reading position
    explicit RingBuffer(std::size_t historyLimit) : m_historyLimit(historyLimit) {}

    std::size_t ahead() const { return m_ahead; }
    std::size_t history() const { return m_history; }

    void clear() { m_history = m_ahead = 0; }

    /// Copies up to `bytes` out and moves the position behind them. @return bytes copied
    std::size_t read(void* to, std::size_t bytes)
    {
        bytes = std::min(bytes, m_ahead);
        std::size_t const first = std::min(bytes, m_capacity - m_position);
        if (bytes != 0) {
            std::memcpy(to, m_storage.get() + m_position, first);
            std::memcpy(static_cast<std::uint8_t*>(to) + first, m_storage.get(), bytes - first);
        }
        moveForward(bytes);
        return bytes;
    }

    /// Moves the position by so many bytes. @return false, and nothing changed, outside the ring
    bool move(long long distance)
    {
        if (distance > static_cast<long long>(m_ahead) ||
            -distance > static_cast<long long>(m_history))
            return false;
        if (distance >= 0) {
            moveForward(static_cast<std::size_t>(distance));
        } else {
            std::size_t const back = static_cast<std::size_t>(-distance);
            m_position = wrap(m_position + m_capacity - back);
            m_history -= back;
            m_ahead += back;
        }
        return true;
    }

    struct Room {
        std::uint8_t* data;
        std::size_t size;
    };
    /// Contiguous room for new bytes: 1 to `bytes` of it.
    /// @param capacity  what to grow to when there is too little. It may be taken in full at once:
    ///                  pages that no data has reached yet cost no memory.
    Room reserve(std::size_t bytes, std::size_t capacity)
    {
        m_history = std::min(m_history, m_historyLimit);
        std::size_t const used = m_history + m_ahead;
        if (m_capacity - used < bytes)
            grow(std::max(used + bytes, capacity));
        std::size_t const tail = wrap(m_position + m_ahead);
        return {m_storage.get() + tail, std::min(bytes, m_capacity - tail)};
    }
    /// The first `bytes` of the room now hold data.
    void commit(std::size_t bytes) { m_ahead += bytes; }

private:
    std::size_t wrap(std::size_t index) const
    {
        return index >= m_capacity ? index - m_capacity : index;
    }

    void moveForward(std::size_t bytes)
    {
        if (bytes == 0)
            return;
        m_position = wrap(m_position + bytes);
        m_ahead -= bytes;
        m_history += bytes; // what is really kept is settled by reserve
    }

    void grow(std::size_t capacity)
    {
        std::unique_ptr<std::uint8_t[]> storage(new std::uint8_t[capacity]);
        std::size_t const kept = m_history;
        std::size_t const all = m_history + m_ahead;
        move(-static_cast<long long>(kept));
        read(storage.get(), all);
        m_storage = std::move(storage);
        m_capacity = capacity;
        m_position = kept;
        m_history = kept;
        m_ahead = all - kept;
    }

    std::size_t const m_historyLimit;
    std::unique_ptr<std::uint8_t[]> m_storage;
    std::size_t m_capacity = 0;
    std::size_t m_position = 0; ///< index of the next byte to read
    std::size_t m_history = 0;
    std::size_t m_ahead = 0;
};

}} // namespace avr::host
