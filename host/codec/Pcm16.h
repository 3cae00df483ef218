#pragma once

#include "PcmWords.h"

namespace avr { namespace host { namespace pcm {

using Bits = std::uint32_t __attribute__((vector_size(16)));
using HalfWords = std::int16_t __attribute__((vector_size(8)));

/// So large that the last bit of a sum stands for 1 / 32768: adding it rounds to the nearest,
/// halves to even, and leaves the sample in the low 16 bits.
constexpr float Rounding = 384.0f;
constexpr std::uint32_t RoundingBits = 0x43C00000;

/// For samples that may be beyond the scale.
inline void writeClipped(const float* from, std::size_t samples, std::int16_t* out)
{
    for (std::size_t i = 0; i < samples; i += Lanes) {
        Floats const x = load(from + i);
        Words const above = x > 32767.0f / 32768, below = x < -1.0f;
        Words const inside = (x == x) & ~(above | below);
        Bits const rounded = Bits(Floats(Words(x) & inside) + Rounding);
        HalfWords const halves = __builtin_convertvector(
            rounded | Bits(above & INT16_MAX) | Bits(below & INT16_MIN), HalfWords);
        std::memcpy(out + i, &halves, sizeof halves);
    }
}

/// What writePlane writes at once.
constexpr std::size_t PlaneStep = 2 * Lanes;

/// Full scale is 1. What is beyond it is cut off; NaN becomes 0.
/// @param samples  a multiple of PlaneStep
inline void writePlane(const float* from, std::size_t samples, std::int16_t* out)
{
    // Of two neighbours the one is put into the other half of the other's word.
    constexpr bool LittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    constexpr std::uint32_t FirstShift = LittleEndian ? 0 : 16, SecondShift = 16 - FirstShift;
    Bits outside{};
    for (std::size_t i = 0; i < samples; i += PlaneStep) {
        Floats const a = load(from + i), b = load(from + i + Lanes);
        Bits const first = Bits(__builtin_shufflevector(a, b, 0, 2, 4, 6) + Rounding);
        Bits const second = Bits(__builtin_shufflevector(a, b, 1, 3, 5, 7) + Rounding);
        outside |= (first - (RoundingBits - 32768)) | (second - (RoundingBits - 32768));
        store(Words((first & 0xFFFF) << FirstShift | (second & 0xFFFF) << SecondShift), out + i);
    }
    if ((outside[0] | outside[1] | outside[2] | outside[3]) > 0xFFFF)
        writeClipped(from, samples, out);
}

inline void interleave(const std::int16_t* left, const std::int16_t* right, std::size_t frames,
                       std::int16_t* out)
{
    std::size_t i = 0;
    for (; i + Lanes <= frames; i += Lanes) {
        HalfWords l, r;
        std::memcpy(&l, left + i, sizeof l);
        std::memcpy(&r, right + i, sizeof r);
        auto const both = __builtin_shufflevector(l, r, 0, 4, 1, 5, 2, 6, 3, 7);
        std::memcpy(out + 2 * i, &both, sizeof both);
    }
    for (; i < frames; ++i) {
        out[2 * i] = left[i];
        out[2 * i + 1] = right[i];
    }
}

}}} // namespace avr::host::pcm
