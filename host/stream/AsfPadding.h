#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace avr { namespace host {

/// Gives a data packet the padding back that its server left out, so that it has `bytes` again.
/// Where the packet says how much padding it has, it says so again: without that, zeros would count
/// as audio.
/// @param bytes  at least those of the packet
void padAsfPacket(std::vector<std::uint8_t>& packet, std::size_t bytes);

}} // namespace avr::host
