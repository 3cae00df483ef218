#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Words of 32 bits, of which the upper 24 count, as packed samples. Most are stored with a byte or
/// two too much, which the next one overwrites; so the machine's low bytes must come first.
namespace avr { namespace host { namespace pcm {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "as the samples have it");

inline std::uint32_t upper24(std::int32_t word) { return static_cast<std::uint32_t>(word) >> 8; }

inline void pack24(const std::int32_t* from, std::size_t samples, std::uint8_t* out)
{
    for (std::size_t left = samples; left != 0; --left, out += 3) {
        std::uint32_t const word = upper24(*from++);
        std::memcpy(out, &word, left > 1 ? sizeof word : 3);
    }
}

/// Interleaved.
inline void pack24(const std::int32_t* left, const std::int32_t* right, std::size_t frames,
                   std::uint8_t* out)
{
    for (; frames != 0; --frames, out += 6) {
        std::uint64_t const both = upper24(*left++) | std::uint64_t{upper24(*right++)} << 24;
        std::memcpy(out, &both, frames > 1 ? sizeof both : 6);
    }
}

}}} // namespace avr::host::pcm
