#include "Mp3Frame.h"

#include <cstring>

namespace avr { namespace host {

namespace {

enum Version { Mpeg25 = 0, Reserved = 1, Mpeg2 = 2, Mpeg1 = 3 };
constexpr unsigned int LayerIII = 1, Mono = 3;

constexpr std::uint32_t Kilobits[2][15] = {
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}};
constexpr std::uint32_t Rates[3] = {44100, 48000, 32000}; // of MPEG-1; 2 halves them, 2.5 again

std::uint32_t bigEndian(const std::uint8_t* from)
{
    return std::uint32_t(from[0]) << 24 | std::uint32_t(from[1]) << 16 |
           std::uint32_t(from[2]) << 8 | from[3];
}

/// No stream that plays has another; what an info frame says beyond it is a mistake.
constexpr std::uint64_t Lowest = 1000, Highest = 1000000;

std::uint32_t average(std::uint64_t bytes, std::uint32_t frames, Mp3Header const& header)
{
    if (frames == 0)
        return 0;
    std::uint64_t const rate = bytes * 8 * header.samplingRate / header.samples / frames;
    return rate >= Lowest && rate <= Highest ? static_cast<std::uint32_t>(rate) : 0;
}

/// Behind the name: flags, then the fields that they announce, frames and bytes first.
Mp3Info parseXing(const std::uint8_t* field, Mp3Header const& header)
{
    constexpr std::uint32_t HasFrames = 1, HasBytes = 2;
    if ((bigEndian(field) & (HasFrames | HasBytes)) != (HasFrames | HasBytes))
        return {0};
    return {average(bigEndian(field + 8), bigEndian(field + 4), header)};
}

} // namespace

std::optional<Mp3Header> parseMp3Header(const std::uint8_t* head)
{
    unsigned int const version = head[1] >> 3 & 3, layer = head[1] >> 1 & 3;
    unsigned int const bitRate = head[2] >> 4, rate = head[2] >> 2 & 3, padding = head[2] >> 1 & 1;
    if (head[0] != 0xFF || head[1] < 0xE0 || version == Reserved || layer != LayerIII ||
        bitRate == 0 || bitRate == 15 || rate == 3)
        return std::nullopt;
    Mp3Header header;
    header.bitRate = Kilobits[version == Mpeg1][bitRate] * 1000;
    header.samplingRate = Rates[rate] >> (version == Mpeg1 ? 0 : version == Mpeg2 ? 1 : 2);
    header.samples = version == Mpeg1 ? 1152 : 576;
    header.bytes = header.samples / 8 * header.bitRate / header.samplingRate + padding;
    header.channels = head[3] >> 6 == Mono ? 1 : 2;
    return header;
}

bool sameMp3Stream(const std::uint8_t* head, const std::uint8_t* other)
{
    return ((head[1] ^ other[1]) & 0x1E) == 0 && ((head[2] ^ other[2]) & 0x0C) == 0;
}

std::optional<Mp3Info> parseMp3Info(const std::uint8_t* frame, Mp3Header const& header)
{
    bool const mpeg1 = header.samples == 1152, mono = header.channels == 1, crc = !(frame[1] & 1);
    std::size_t const side = mpeg1 ? (mono ? 17 : 32) : (mono ? 9 : 17);
    for (std::size_t at : {Mp3HeaderBytes + side, Mp3HeaderBytes + side + 2}) {
        if (at + 16 > header.bytes || (at != Mp3HeaderBytes + side && !crc))
            break;
        if (std::memcmp(frame + at, "Xing", 4) == 0)
            return parseXing(frame + at + 4, header);
        if (std::memcmp(frame + at, "Info", 4) == 0) // of a constant bit rate
            return Mp3Info{0};
    }
    constexpr std::size_t Vbri = 36;
    if (header.bytes >= Vbri + 18 && std::memcmp(frame + Vbri, "VBRI", 4) == 0)
        return Mp3Info{average(bigEndian(frame + Vbri + 10), bigEndian(frame + Vbri + 14), header)};
    return std::nullopt;
}

}} // namespace avr::host
