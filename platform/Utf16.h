#pragma once

#include "decoder/Export.h"

/// @file
/// Text as the titles in WMA streams have it.
extern "C" {

/// Converts text. Any thread.
/// @param source       UTF-16, little-endian, ended by two zero bytes; need not be aligned
/// @param destination  receives UTF-8; what does not fit is cut off behind a whole character, and a
///                     terminator follows where there is room
/// @param size         bytes of the destination
/// @return bytes of UTF-8, the terminator not counted; 0 when there is none, or on failure
AVR_API unsigned int convert_utf16_to_utf8(const void* source, char* destination,
                                           unsigned int size);

} // extern "C"
