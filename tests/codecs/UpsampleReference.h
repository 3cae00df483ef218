#pragma once

#include <cstdint>

namespace avr { namespace test {

/// What a stream's next block is converted from.
struct UpsampleHistory {
    std::int32_t last[2] = {};    ///< the last sample of each channel
    std::int32_t quarter[2] = {}; ///< of the last odd frame that was halved
};

/// The rule of the integer ratios, output by output.
template <int Ratio, int Channels>
int upsampleByRule(UpsampleHistory& history, const int* in, int count, int* out)
{
    for (int i = 0; i < count; i += Channels) {
        for (std::uint32_t k = 1; k < Ratio; ++k)
            for (int c = 0; c < Channels; ++c) {
                auto const a = static_cast<std::uint32_t>(history.last[c] / Ratio);
                auto const b = static_cast<std::uint32_t>(in[i + c] / Ratio);
                *out++ = static_cast<std::int32_t>((Ratio - k) * a + k * b);
            }
        for (int c = 0; c < Channels; ++c)
            *out++ = history.last[c] = in[i + c];
    }
    return Ratio * count;
}

/// The rule of the ratio 1.5: triples, then halves from the front of `out`.
template <int Channels>
int upsampleHalvesByRule(UpsampleHistory& history, const int* in, int count, int* out)
{
    upsampleByRule<3, Channels>(history, in, count, out);
    int written = 0;
    for (const int* y = out; 2 * written < 3 * count; y += Channels)
        for (int c = 0; c < Channels; ++c, ++y) {
            std::int32_t const quarter = y[Channels] >> 2;
            out[written++] = (*y >> 1) + quarter + history.quarter[c];
            history.quarter[c] = quarter;
        }
    return written;
}

struct UpsampleRule {
    int rate;
    int channels;
    int (*convert)(UpsampleHistory& history, const int* in, int count, int* out);

    /// Room for a block's output, and at the ratio 1.5 for one frame more.
    int room(int count) const
    {
        int const whole = samplesRead(count);
        return rate == 15 ? 3 * whole + channels : rate / 10 * whole;
    }
    int samplesRead(int count) const { return (count + channels - 1) / channels * channels; }
};

/// In the order of the selection.
inline constexpr UpsampleRule UpsampleRules[] = {
    {20, 1, upsampleByRule<2, 1>},    {20, 2, upsampleByRule<2, 2>},
    {30, 1, upsampleByRule<3, 1>},    {30, 2, upsampleByRule<3, 2>},
    {15, 1, upsampleHalvesByRule<1>}, {15, 2, upsampleHalvesByRule<2>},
    {40, 1, upsampleByRule<4, 1>},    {40, 2, upsampleByRule<4, 2>},
    {60, 1, upsampleByRule<6, 1>},    {60, 2, upsampleByRule<6, 2>},
    {80, 1, upsampleByRule<8, 1>},    {80, 2, upsampleByRule<8, 2>},
    {120, 1, upsampleByRule<12, 1>},  {120, 2, upsampleByRule<12, 2>},
};

}} // namespace avr::test
