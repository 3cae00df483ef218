#pragma once

#include <cstddef>
#include <cstdint>

namespace Avr { namespace Decoder {

/// Frames in one block of uncompressed audio.
constexpr std::size_t FramesPerBlock = 1024;

/// No block is larger, whatever a header or a player says: 16 MiB.
constexpr std::size_t LargestBlock = 16 * 1024 * 1024;

/// Bytes of one frame, kept as 16 bits like the record's field.
inline std::uint16_t blockAlignOf(std::uint16_t channels, std::uint16_t bitsPerSample)
{
    return static_cast<std::uint16_t>(std::uint32_t(channels) * bitsPerSample / 8);
}

}} // namespace Avr::Decoder
