#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace avr { namespace host {

/// @param bytes  at most 8
inline std::uint64_t littleEndian(const std::uint8_t* from, unsigned int bytes)
{
    std::uint64_t value = 0;
    while (bytes-- != 0)
        value = value << 8 | from[bytes];
    return value;
}

/// Takes numbers from bytes, the lowest byte first. A number that is not there whole is 0.
class ByteReader {
public:
    ByteReader(const std::uint8_t* bytes, std::size_t size) : m_at(bytes), m_end(bytes + size) {}

    /// @param bytes  at most 4
    std::uint32_t take(unsigned int bytes)
    {
        const std::uint8_t* const from = m_at;
        skip(bytes);
        return m_overran ? 0 : static_cast<std::uint32_t>(littleEndian(from, bytes));
    }
    void skip(std::size_t bytes)
    {
        m_overran = m_overran || bytes > left();
        m_at += std::min(bytes, left());
    }

    const std::uint8_t* at() const { return m_at; }
    std::size_t left() const { return static_cast<std::size_t>(m_end - m_at); }
    /// Whether more was taken than there is.
    bool overran() const { return m_overran; }

private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
    bool m_overran = false;
};

}} // namespace avr::host
