#pragma once

#include <cstdint>
#include <vector>

namespace avr { namespace host {

/// The size of every data packet, as the header of an ASF file tells it; 0 when it does not.
std::uint32_t asfPacketBytes(std::vector<std::uint8_t> const& header);

struct AsfStreamNumber {
    unsigned int number;
    bool isAudio;
};

/// The streams that the header of an ASF file tells of.
std::vector<AsfStreamNumber> asfStreams(std::vector<std::uint8_t> const& header);

}} // namespace avr::host
