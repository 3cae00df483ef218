#pragma once

#include <cstddef>
#include <cstdint>

namespace kiv { namespace sound {

/// The sample with its bytes in the other order.
template <class Sample>
Sample transEndian(Sample sample);

template <>
inline short transEndian<short>(short sample)
{
    unsigned const bits = static_cast<std::uint16_t>(sample);
    return static_cast<short>(static_cast<std::uint16_t>(bits << 8 | bits >> 8));
}

/// transEndian of `words` samples. The inner loop has a fixed count, so that compilers vectorise it
/// without being asked to try hard.
inline void transEndian(const short* __restrict from, short* __restrict to, std::size_t words)
{
    constexpr std::size_t Group = 64;
    std::size_t done = 0;
    for (; done + Group <= words; done += Group) {
        for (std::size_t i = 0; i < Group; ++i)
            to[done + i] = transEndian(from[done + i]);
    }
    for (; done < words; ++done)
        to[done] = transEndian(from[done]);
}

}} // namespace kiv::sound
