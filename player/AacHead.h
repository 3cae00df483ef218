#pragma once

#include "platform/IReadableStream.h"

#include <cstdint>
#include <string>

namespace avr { namespace player {

/// Whether a file that begins so is an MP4 file to the AAC decoder.
bool isMp4(std::string const& head);

/// Hz of the AAC in an MP4 file, extensions not counted; 0 when there is none to be played.
std::uint32_t mp4CoreRate(Avr::Interface::IReadableStream& stream);

/// One line: why the AAC decoder does not play this file, and what to do. Empty when that is not
/// to be seen.
/// @param head  the file's first bytes; the rest is read where it tells more
std::string aacComplaint(Avr::Interface::IReadableStream& stream, std::string const& head);

}} // namespace avr::player
