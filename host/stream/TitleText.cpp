#include "TitleText.h"

#include <cstddef>

namespace avr { namespace host {

namespace {

/// Bytes of the character in front; 0 when it is none.
std::size_t characterBytes(std::string_view text)
{
    auto const byte = [text](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0u;
    };
    unsigned int const lead = byte(0), two = lead << 8 | byte(1);
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || two >= 0xF490)
        return 0;
    // Too long for what they are, or halves of a pair.
    if ((two >= 0xE000 && two < 0xE0A0) || (two >= 0xEDA0 && two < 0xEE00) ||
        (two >= 0xF000 && two < 0xF090))
        return 0;
    std::size_t const bytes = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    for (std::size_t at = 1; at < bytes; ++at)
        if ((byte(at) & 0xC0) != 0x80)
            return 0;
    return bytes;
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        std::size_t const bytes = characterBytes(text);
        if (bytes == 0)
            return false;
        text.remove_prefix(bytes);
    }
    return true;
}

} // namespace

std::string titleText(std::string_view written)
{
    if (isUtf8(written))
        return std::string(written);
    std::string text;
    for (char c : written) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte >= 0x80)
            text += static_cast<char>(0xC0 | byte >> 6);
        text += byte < 0x80 ? c : static_cast<char>(0x80 | (byte & 0x3F));
    }
    return text;
}

}} // namespace avr::host
