#include "AsfHeaderFacts.h"

#include <algorithm>
#include <cstddef>

namespace avr { namespace host {

namespace {

using Guid = std::uint8_t[16];

constexpr Guid FileProperties = {0xA1, 0xDC, 0xAB, 0x8C, 0x47, 0xA9, 0xCF, 0x11,
                                 0x8E, 0xE4, 0x00, 0xC0, 0x0C, 0x20, 0x53, 0x65};
constexpr Guid StreamProperties = {0x91, 0x07, 0xDC, 0xB7, 0xB7, 0xA9, 0xCF, 0x11,
                                   0x8E, 0xE6, 0x00, 0xC0, 0x0C, 0x20, 0x53, 0x65};
constexpr Guid AudioMedia = {0x40, 0x9E, 0x69, 0xF8, 0x4D, 0x5B, 0xCF, 0x11,
                             0xA8, 0xFD, 0x00, 0x80, 0x5F, 0x5C, 0x44, 0x2B};

std::uint64_t littleEndian(const std::uint8_t* from, unsigned int bytes)
{
    std::uint64_t value = 0;
    while (bytes-- != 0)
        value = value << 8 | from[bytes];
    return value;
}

bool isGuid(const std::uint8_t* at, Guid const& guid)
{
    return std::equal(std::begin(guid), std::end(guid), at);
}

/// Shows each object of a kind that has so many bytes at least.
template <class Take>
void forEach(std::vector<std::uint8_t> const& header, Guid const& kind, std::size_t least,
             Take const& take)
{
    constexpr std::size_t HeaderHead = 30; // of the object that all others are in
    constexpr std::size_t ObjectHead = 24; // GUID and size
    for (std::size_t at = HeaderHead; at < header.size() && header.size() - at >= ObjectHead;) {
        const std::uint8_t* const object = header.data() + at;
        std::uint64_t const bytes = littleEndian(object + 16, 8);
        if (bytes < ObjectHead || bytes > header.size() - at)
            break;
        if (bytes >= least && isGuid(object, kind))
            take(object);
        at += static_cast<std::size_t>(bytes);
    }
}

} // namespace

std::uint32_t asfPacketBytes(std::vector<std::uint8_t> const& header)
{
    constexpr std::size_t Bytes = 104;
    constexpr std::size_t MostPacketBytesAt = 96; // the least are as many
    std::uint32_t packetBytes = 0;
    forEach(header, FileProperties, Bytes, [&packetBytes](const std::uint8_t* object) {
        if (packetBytes == 0)
            packetBytes = static_cast<std::uint32_t>(littleEndian(object + MostPacketBytesAt, 4));
    });
    return packetBytes;
}

std::vector<AsfStreamNumber> asfStreams(std::vector<std::uint8_t> const& header)
{
    constexpr std::size_t Bytes = 78, TypeAt = 24, NumberAt = 72;
    std::vector<AsfStreamNumber> streams;
    forEach(header, StreamProperties, Bytes, [&streams](const std::uint8_t* object) {
        streams.push_back({object[NumberAt] & 0x7Fu, isGuid(object + TypeAt, AudioMedia)});
    });
    return streams;
}

}} // namespace avr::host
