#include "PcmTime.h"

#include <limits>

namespace Avr { namespace Decoder {

using kiv::appli::TimeSpec;

TimeSpec playingTime(std::uint64_t bytes, std::uint32_t bytesPerSecond)
{
    if (bytesPerSecond == 0)
        return TimeSpec{0, 0};
    std::uint64_t const seconds = bytes / bytesPerSecond;
    std::uint64_t const remainder = bytes % bytesPerSecond;
    return TimeSpec{static_cast<std::uint32_t>(seconds),
                    static_cast<std::uint32_t>(remainder * 1000000000u / bytesPerSecond)};
}

double toSeconds(TimeSpec const& time) { return time.seconds + time.nanoseconds / 1e9; }

std::int64_t bytePosition(TimeSpec const& time, double bytesPerSecond)
{
    double const bytes = toSeconds(time) * bytesPerSecond;
    auto const most = std::numeric_limits<std::int64_t>::max();
    return bytes < static_cast<double>(most) ? static_cast<std::int64_t>(bytes) : most;
}

std::int64_t byteOffset(TimeSpec const& time, std::uint32_t bytesPerSecond,
                        std::uint16_t blockAlign)
{
    return wholeFrames(bytePosition(time, bytesPerSecond), blockAlign) * blockAlign;
}

std::int64_t wholeFrames(std::int64_t bytes, std::uint16_t blockAlign)
{
    return blockAlign == 0 ? 0 : bytes / blockAlign;
}

std::uint32_t durationMilliseconds(std::int64_t bytes, unsigned int times,
                                   std::uint32_t bytesPerSecond)
{
    if (bytes <= 0 || times == 0 || bytesPerSecond == 0)
        return 0;
    auto const most = std::numeric_limits<std::uint32_t>::max();
    if (bytes > std::numeric_limits<std::int64_t>::max() / times)
        return most;
    std::int64_t const seconds = bytes * times / bytesPerSecond;
    return seconds > most / 1000 ? most : static_cast<std::uint32_t>(seconds) * 1000;
}

}} // namespace Avr::Decoder
