#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace avr { namespace host {

/// The size of every data packet, as the header of an ASF file tells it; 0 when it does not.
std::uint32_t asfPacketBytes(std::vector<std::uint8_t> const& header);

/// Gives a data packet the padding back that its server left out, so that it has `bytes` again.
/// Where the packet says how much padding it has, it says so again: without that, zeros would count
/// as audio.
/// @param bytes  at least those of the packet
void padAsfPacket(std::vector<std::uint8_t>& packet, std::size_t bytes);

}} // namespace avr::host
