#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace avr { namespace host {

/// What has been read of an input and is not yet passed. It reads exactly what is asked for, and
/// never ahead: the end of the input may be acted on before the last frame is heard.
class InputWindow {
public:
    /// Reads exactly so many bytes. @return false when that fails
    using Read = std::function<bool(std::uint8_t* to, std::size_t bytes)>;

    InputWindow(Read read, std::size_t capacity) : m_read(std::move(read)), m_bytes(capacity) {}

    const std::uint8_t* at() const { return m_bytes.data() + m_begin; }
    std::size_t held() const { return m_end - m_begin; }
    /// Makes it hold at least so many, at most the capacity. @return false when that failed
    bool hold(std::size_t bytes)
    {
        if (held() >= bytes)
            return true;
        if (m_begin + bytes > m_bytes.size())
            moveToFront();
        return read(bytes - held());
    }
    void drop(std::size_t bytes) { m_begin += std::min(bytes, held()); }
    /// Passes over some of so many bytes. @return how many; 0 when that failed
    std::size_t skip(std::uint64_t bytes)
    {
        auto const atMost = [bytes](std::size_t some) {
            return static_cast<std::size_t>(std::min<std::uint64_t>(bytes, some));
        };
        if (held() == 0) {
            m_begin = m_end = 0;
            read(atMost(m_bytes.size()));
        }
        std::size_t const passed = atMost(held());
        m_begin += passed;
        return passed;
    }

    /// Whether the last read failed. Then nothing is held: where the input goes on is not known.
    bool failed() const { return m_failed; }
    std::uint64_t bytesRead() const { return m_bytesRead; }

private:
    void moveToFront()
    {
        std::copy(at(), at() + held(), m_bytes.data());
        m_end -= std::exchange(m_begin, 0);
    }
    bool read(std::size_t bytes)
    {
        m_bytesRead += bytes;
        m_failed = !m_read(m_bytes.data() + m_end, bytes);
        m_end = m_failed ? m_begin : m_end + bytes;
        return !m_failed;
    }

    Read const m_read;
    std::vector<std::uint8_t> m_bytes; ///< held: m_begin to m_end
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::uint64_t m_bytesRead = 0; ///< or tried to
    bool m_failed = false;
};

}} // namespace avr::host
