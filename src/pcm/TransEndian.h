#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

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

/// transEndian of `words` samples, at the speed of a copy: with 128-bit vectors, which compilers
/// turn into whatever the target has, since few see one in the plain loop without being asked to
/// try hard.
inline void transEndian(const short* from, short* to, std::size_t words)
{
    using Vector = std::uint16_t __attribute__((vector_size(16)));
    constexpr std::size_t Lane = sizeof(Vector) / sizeof(short);
    std::size_t done = 0;
    for (; done + 2 * Lane <= words; done += 2 * Lane) {
        Vector first, second;
        std::memcpy(&first, from + done, sizeof first);
        std::memcpy(&second, from + done + Lane, sizeof second);
        first = first << 8 | first >> 8;
        second = second << 8 | second >> 8;
        std::memcpy(to + done, &first, sizeof first);
        std::memcpy(to + done + Lane, &second, sizeof second);
    }
    for (; done < words; ++done)
        to[done] = transEndian(from[done]);
}

}} // namespace kiv::sound
