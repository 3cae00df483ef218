#pragma once

#include "decoder/Export.h"

#include <cstdint>

// For those who look at a stream before they choose a decoder.
extern "C" {

/// @param first, second  the stream's first 8 bytes, as they lie in memory
/// @return 0 for ADIF, 2 for MP4, 1 for anything else
AVR_API int VAAC_getStreamType(std::uint32_t first, std::uint32_t second);
/// The same of a header of 8 bytes; 19 for null.
AVR_API int VAAC_identifyType(const void* header);
/// Seeds a state that is 0 from the clock.
AVR_API void VAAC_getRandState(int* state);

} // extern "C"
