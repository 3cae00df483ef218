#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace avr { namespace host {

/// The text in lower case, ASCII only.
inline std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return lower;
}

}} // namespace avr::host
