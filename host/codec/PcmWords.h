#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Samples as 32-bit words, four at a time: one by one they would cost half as much as decoding.
namespace avr { namespace host { namespace pcm {

constexpr std::size_t Lanes = 4;
using Floats = float __attribute__((vector_size(16)));
using Words = std::int32_t __attribute__((vector_size(16)));

inline Floats load(const float* from)
{
    Floats floats;
    std::memcpy(&floats, from, sizeof floats);
    return floats;
}
inline void store(Words words, void* to) { std::memcpy(to, &words, sizeof words); }

/// Full scale is 1. What is beyond it is cut off before it is converted; NaN becomes 0.
inline Words toWords(Floats x)
{
    Words const inside = (x > -1.0f) & (x < 1.0f);
    Words const cut = ((x >= 1.0f) & INT32_MAX) | ((x <= -1.0f) & INT32_MIN);
    return __builtin_convertvector(Floats(Words(x) & inside) * 2147483648.0f, Words) | cut;
}

/// @param frames  a multiple of Lanes
inline void writeStereo(const float* left, const float* right, std::size_t frames,
                        std::int32_t* out)
{
    for (std::size_t i = 0; i < frames; i += Lanes, out += 2 * Lanes) {
        Words const l = toWords(load(left + i)), r = toWords(load(right + i));
        store(__builtin_shufflevector(l, r, 0, 4, 1, 5), out);
        store(__builtin_shufflevector(l, r, 2, 6, 3, 7), out + Lanes);
    }
}

/// The middle of two channels; exactly the one when they are the same.
inline void writeMono(const float* left, const float* right, std::size_t frames, std::int32_t* out)
{
    for (std::size_t i = 0; i < frames; i += Lanes)
        store(toWords((load(left + i) + load(right + i)) * 0.5f), out + i);
}

}}} // namespace avr::host::pcm
