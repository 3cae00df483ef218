#pragma once

#include "decoder/DecoderProperty.h"
#include "decoder/Result.h"
#include "decoder/WaveFormat.h"

#include <cstdint>
#include <cstdio>
#include <limits>

// What the decoders of both WMA kinds do alike.
namespace kiv { namespace appli {

/// A codec's result: there is no more data.
constexpr int WmaNoMoreData = 5;

/// The record of a file's own format.
inline tWAVEFORMAT wmaFormat(unsigned int channels, std::uint32_t rate, std::uint16_t bits)
{
    tWAVEFORMAT format{};
    format.formatTag = 1;
    format.channels = static_cast<std::uint16_t>(channels);
    format.samplesPerSecond = rate;
    format.blockAlign = static_cast<std::uint16_t>(channels * bits / 8);
    format.averageBytesPerSecond = rate * format.blockAlign;
    format.bitsPerSample = bits;
    format.validBitsPerSample = bits;
    return format;
}

/// Seeks a codec to a time.
/// @param seek  takes milliseconds, gives the codec's result
template <class SeekCodec>
int seekWma(long milliseconds, SeekCodec seek)
{
    if (milliseconds < 0 || milliseconds > std::numeric_limits<std::int32_t>::max())
        return ErrorFailed;
    int const result = seek(static_cast<unsigned int>(milliseconds));
    if (result < 0) {
        std::printf("WMA_FILE:: Got %d while decoding\n", result);
        return ErrorFailed;
    }
    if (result == WmaNoMoreData) {
        std::puts("no more flame");
        return ResultEndOfStream;
    }
    return Ok;
}

template <class SeekCodec>
int seekWma(TimeSpec const& position, SeekCodec seek)
{
    double const milliseconds = (position.seconds + position.nanoseconds / 1000000000.0) * 1000.0;
    double const most = std::numeric_limits<std::int32_t>::max();
    return milliseconds > most ? static_cast<int>(ErrorFailed)
                               : seekWma(static_cast<long>(milliseconds), seek);
}

}} // namespace kiv::appli
