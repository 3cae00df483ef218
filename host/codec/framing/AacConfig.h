#pragma once

#include "Bits.h"

namespace avr { namespace host {

/// How a decoder has to be set up for raw AAC blocks.
struct AacFormat {
    unsigned int objectType = 0; ///< 1 = Main, 2 = LC, ...
    unsigned int rateIndex = 0;
    unsigned int channels = 0; ///< the channel configuration; 0 = in a program config element

    bool operator==(AacFormat const& other) const
    {
        return objectType == other.objectType && rateIndex == other.rateIndex &&
               channels == other.channels;
    }
};

constexpr unsigned int AacObjectLc = 2;
constexpr unsigned int AacRates = 13;
/// Hz of an index below AacRates.
std::uint32_t aacRate(unsigned int index);
/// @return AacRates when none has this rate
unsigned int aacRateIndex(std::uint32_t rate);

/// An AudioSpecificConfig by which the decoder takes the LC core of a stream and leaves its
/// extensions out: then every frame has 1024 samples per channel.
std::vector<std::uint8_t> coreConfig(AacFormat const& format);

/// The same for the channels of a program config element. The reader stands behind the element's
/// id, and is left behind the element, or has overrun.
/// @return empty when there is no such sampling rate
std::vector<std::uint8_t> programConfig(BitReader& element);

/// @param config  an AudioSpecificConfig
/// @return the format of the core, whatever extension is laid over it; object type 0 when that
///         cannot be read, or its frames do not have 1024 samples
AacFormat coreFormat(std::vector<std::uint8_t> const& config);

}} // namespace avr::host
