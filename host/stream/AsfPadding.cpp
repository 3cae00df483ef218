#include "AsfPadding.h"

#include "LittleEndian.h"

#include <algorithm>
#include <optional>

namespace avr { namespace host {

namespace {

/// Where a packet tells how much padding it has.
struct PaddingField {
    std::size_t flagsAt; ///< the length of the field is in them
    std::size_t at;
    std::size_t bytes; ///< 0: it is left out, which says that there is none
};

constexpr unsigned int LengthShift = 3;
constexpr unsigned int LengthOfTwo = 2u << LengthShift;
constexpr unsigned int LengthOfOne = 1u << LengthShift;
constexpr unsigned int LengthMask = 3u << LengthShift;

/// @return none when the packet tells its own length, or is of an unknown kind
std::optional<PaddingField> paddingField(std::vector<std::uint8_t> const& packet)
{
    constexpr std::size_t Lengths[] = {0, 1, 2, 4};
    constexpr std::size_t FlagsBytes = 2;
    unsigned int const first = packet.empty() ? 0 : packet[0];
    bool const hasCorrection = (first & 0x80) != 0;
    std::size_t const flagsAt = hasCorrection ? 1 + (first & 0x0F) : 0;
    if ((hasCorrection && (first & 0x70) != 0) || packet.size() < flagsAt + FlagsBytes)
        return {};
    unsigned int const flags = packet[flagsAt];
    PaddingField const field = {flagsAt, flagsAt + FlagsBytes + Lengths[flags >> 1 & 3],
                                Lengths[flags >> LengthShift & 3]};
    bool const tellsLength = (flags >> 5 & 3) != 0;
    if (tellsLength || packet.size() < field.at + field.bytes)
        return {};
    return field;
}

/// @param missing  more than 0
void tellPadding(std::vector<std::uint8_t>& packet, PaddingField field, std::size_t missing)
{
    if (field.bytes == 0 || (field.bytes == 1 && missing > 0xFF)) { // two bytes, when there is room
        std::size_t const grown = std::min<std::size_t>(2 - field.bytes, missing);
        packet.insert(packet.begin() + static_cast<std::ptrdiff_t>(field.at), grown, 0);
        field.bytes += grown;
        missing -= grown;
        std::uint8_t& flags = packet[field.flagsAt];
        flags = static_cast<std::uint8_t>((flags & ~LengthMask) |
                                          (field.bytes == 2 ? LengthOfTwo : LengthOfOne));
    }
    for (std::size_t i = 0; i < field.bytes; ++i, missing >>= 8)
        packet[field.at + i] = static_cast<std::uint8_t>(missing);
}

} // namespace

void padAsfPacket(std::vector<std::uint8_t>& packet, std::size_t bytes)
{
    std::size_t const missing = bytes - packet.size();
    std::optional<PaddingField> const field = paddingField(packet);
    bool const tellsNone =
        field && littleEndian(packet.data() + field->at, unsigned(field->bytes)) == 0;
    if (missing != 0 && tellsNone)
        tellPadding(packet, *field, missing);
    packet.resize(bytes);
}

}} // namespace avr::host
