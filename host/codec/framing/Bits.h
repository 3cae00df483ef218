#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace avr { namespace host {

/// Takes bits from bytes, the highest first. Behind the end there are zeros.
class BitReader {
public:
    BitReader(const std::uint8_t* bytes, std::size_t size) : m_bytes(bytes), m_bits(size * 8) {}

    /// @param count  at most 32
    std::uint32_t take(unsigned int count)
    {
        std::uint32_t value = 0;
        for (; count != 0; --count, ++m_position)
            value = value << 1 | next();
        return value;
    }
    void skip(std::size_t bits) { m_position += bits; }
    void alignToByte() { m_position = (m_position + 7) / 8 * 8; }

    std::size_t position() const { return m_position; } ///< in bits
    /// Whether more was taken than there is.
    bool overran() const { return m_position > m_bits; }

private:
    std::uint32_t next() const
    {
        if (m_position >= m_bits)
            return 0;
        return m_bytes[m_position / 8] >> (7 - m_position % 8) & 1u;
    }

    const std::uint8_t* m_bytes;
    std::size_t m_bits;
    std::size_t m_position = 0;
};

/// Puts bits into bytes; the last byte is filled with zeros.
class BitWriter {
public:
    BitWriter() { m_bytes.reserve(16); }

    void put(std::uint32_t value, unsigned int count)
    {
        for (; count != 0; ++m_bits) {
            --count;
            if (m_bits % 8 == 0)
                m_bytes.push_back(0);
            m_bytes.back() =
                std::uint8_t(m_bytes.back() | (value >> count & 1u) << (7 - m_bits % 8));
        }
    }
    void alignToByte() { m_bits = m_bytes.size() * 8; }

    std::vector<std::uint8_t> const& bytes() const { return m_bytes; }

private:
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_bits = 0;
};

}} // namespace avr::host
