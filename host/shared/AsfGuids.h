#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

// What the header of an ASF file is made of, as far as more than one reader knows it.
namespace avr { namespace host { namespace asf {

using Guid = std::array<std::uint8_t, 16>;
constexpr Guid FileProperties = {0xA1, 0xDC, 0xAB, 0x8C, 0x47, 0xA9, 0xCF, 0x11,
                                 0x8E, 0xE4, 0x00, 0xC0, 0x0C, 0x20, 0x53, 0x65};
constexpr Guid StreamProperties = {0x91, 0x07, 0xDC, 0xB7, 0xB7, 0xA9, 0xCF, 0x11,
                                   0x8E, 0xE6, 0x00, 0xC0, 0x0C, 0x20, 0x53, 0x65};
constexpr Guid AudioMedia = {0x40, 0x9E, 0x69, 0xF8, 0x4D, 0x5B, 0xCF, 0x11,
                             0xA8, 0xFD, 0x00, 0x80, 0x5F, 0x5C, 0x44, 0x2B};

inline bool is(Guid const& guid, const std::uint8_t* at)
{
    return std::equal(guid.begin(), guid.end(), at);
}

constexpr std::size_t ObjectHead = 24; ///< GUID and size
constexpr std::size_t HeaderHead = 30; ///< of the object that all others are in
constexpr std::size_t FilePropertiesBytes = 104;

}}} // namespace avr::host::asf
