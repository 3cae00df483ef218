#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kiv { namespace appli {

/// Writes the low bytes of each sample, little-endian, the channels interleaved.
using Interleave = void (*)(const std::int32_t* const* channels, std::size_t frames,
                            std::uint8_t* out);

template <unsigned int BytesPerSample, unsigned int Channels>
void writeBytes(const std::int32_t* const* channels, std::size_t frame, std::size_t end,
                std::uint8_t* out)
{
    for (; frame < end; ++frame) {
        for (unsigned int channel = 0; channel < Channels; ++channel) {
            auto const sample = static_cast<std::uint32_t>(channels[channel][frame]);
            for (unsigned int byte = 0; byte < BytesPerSample; ++byte)
                *out++ = static_cast<std::uint8_t>(sample >> (8 * byte));
        }
    }
}

template <unsigned int BytesPerSample, unsigned int Channels>
void interleave(const std::int32_t* const* channels, std::size_t frames, std::uint8_t* out)
{
    writeBytes<BytesPerSample, Channels>(channels, 0, frames, out);
}

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__

// The usual formats, four frames at a time: the writing is what a player pays beside the decoding.

using FourSamples = std::uint32_t __attribute__((vector_size(16)));
using TwoFrames = std::uint64_t __attribute__((vector_size(16)));

inline FourSamples fourSamples(const std::int32_t* from)
{
    FourSamples samples;
    std::memcpy(&samples, from, sizeof samples);
    return samples;
}

template <>
inline void interleave<2, 2>(const std::int32_t* const* channels, std::size_t frames,
                             std::uint8_t* out)
{
    std::size_t frame = 0;
    for (; frame + 4 <= frames; frame += 4, out += 16) {
        FourSamples const pairs =
            (fourSamples(channels[0] + frame) & 0xFFFFu) | (fourSamples(channels[1] + frame) << 16);
        std::memcpy(out, &pairs, sizeof pairs);
    }
    writeBytes<2, 2>(channels, frame, frames, out);
}

/// Two frames of 24 bits, low in 64, to 12 bytes; the second's upper bytes end up behind them.
inline void storeTwo(TwoFrames frames, std::uint8_t* out)
{
    for (int i : {0, 1}) {
        std::uint64_t const frame = frames[i];
        std::memcpy(out + 6 * i, &frame, sizeof frame);
    }
}

template <>
inline void interleave<3, 2>(const std::int32_t* const* channels, std::size_t frames,
                             std::uint8_t* out)
{
    std::size_t frame = 0;
    for (; frame + 4 < frames; frame += 4, out += 24) { // the last frames overwrite what is behind
        FourSamples const left = fourSamples(channels[0] + frame) & 0xFFFFFFu;
        FourSamples const right = fourSamples(channels[1] + frame);
        FourSamples const zero{};
        auto const low = TwoFrames(__builtin_shufflevector(left, zero, 0, 4, 1, 5)) |
                         TwoFrames(__builtin_shufflevector(right, zero, 0, 4, 1, 5)) << 24;
        auto const high = TwoFrames(__builtin_shufflevector(left, zero, 2, 6, 3, 7)) |
                          TwoFrames(__builtin_shufflevector(right, zero, 2, 6, 3, 7)) << 24;
        storeTwo(low, out);
        storeTwo(high, out + 12);
    }
    writeBytes<3, 2>(channels, frame, frames, out);
}

#endif

/// The writer for one or two channels of 1 to 4 bytes a sample: a choice per block, not per sample.
inline Interleave interleaveFor(unsigned int bytesPerSample, unsigned int channels)
{
    static constexpr Interleave Writers[4][2] = {{interleave<1, 1>, interleave<1, 2>},
                                                 {interleave<2, 1>, interleave<2, 2>},
                                                 {interleave<3, 1>, interleave<3, 2>},
                                                 {interleave<4, 1>, interleave<4, 2>}};
    return Writers[bytesPerSample - 1][channels - 1];
}

}} // namespace kiv::appli
