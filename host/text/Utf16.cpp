#include "platform/Utf16.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::uint32_t Replacement = 0xFFFD;

/// UTF-16 up to its end.
class Units {
public:
    explicit Units(const void* bytes) : m_at(static_cast<const unsigned char*>(bytes)) {}

    /// @return 0 at the end, which is not passed
    std::uint32_t peek() const { return m_at[0] | std::uint32_t{m_at[1]} << 8; }
    /// The next character; not at the end.
    std::uint32_t take();

private:
    const unsigned char* m_at;
};

std::uint32_t Units::take()
{
    std::uint32_t const first = peek();
    m_at += 2;
    if ((first & 0xF800) != 0xD800)
        return first;
    std::uint32_t const second = peek();
    if (first >= 0xDC00 || (second & 0xFC00) != 0xDC00) // it has no partner
        return Replacement;
    m_at += 2;
    return 0x10000 + ((first & 0x3FF) << 10 | (second & 0x3FF));
}

/// @param to  has room for 4
/// @return how many there are
unsigned int encode(std::uint32_t character, unsigned char* to)
{
    if (character < 0x80) {
        to[0] = static_cast<unsigned char>(character);
        return 1;
    }
    unsigned int const bytes = character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
    for (unsigned int i = bytes - 1; i != 0; --i, character >>= 6)
        to[i] = static_cast<unsigned char>(0x80 | (character & 0x3F));
    to[0] = static_cast<unsigned char>(0xF00 >> bytes | character);
    return bytes;
}

} // namespace

unsigned int convert_utf16_to_utf8(const void* source, char* destination, unsigned int size)
{
    if (!source || !destination)
        return 0;
    unsigned int written = 0;
    for (Units units(source); units.peek() != 0;) {
        unsigned char bytes[4];
        unsigned int const count = encode(units.take(), bytes);
        if (count > size - written)
            break;
        std::copy_n(bytes, count, destination + written);
        written += count;
    }
    if (written < size)
        destination[written] = '\0';
    return written;
}
