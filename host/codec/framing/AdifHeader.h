#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace avr { namespace host {

/// The header of an AAC stream whose raw blocks follow one another without any framing.
struct AdifHeader {
    std::vector<std::uint8_t> config; ///< of its first program, for the decoder
    std::size_t bytes = 0;            ///< the first block stands behind them
};

enum class AdifResult { Complete, NeedsMore, Bad };

/// @param bytes, size  the beginning of the stream. No header takes more than 8 KiB
AdifResult parseAdifHeader(const std::uint8_t* bytes, std::size_t size, AdifHeader& header);

}} // namespace avr::host
