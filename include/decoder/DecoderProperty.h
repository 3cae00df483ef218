#pragma once

#include "decoder/SmartEnum.h"

namespace kiv { namespace appli {

/// What SetProperty and GetProperty name. Values are decimal text; CodecName is plain text.
struct DecoderPropTypeBase {
    /// The properties.
    enum Value : int {
        SampleRate = 0,    ///< Hz
        BitsPerSample = 1, ///< bits
        Channels = 2,      ///< count
        Reserved3 = 3,     ///< never answered
        CodecName = 4,     ///< display name, for example "Wave"
        Reserved5 = 5,     ///< never answered
        BitRate = 6        ///< bits per second
    };
};
static_assert(sizeof(smart_enum<DecoderPropTypeBase>) == 4, "crosses the boundary as 32 bits");

}} // namespace kiv::appli
