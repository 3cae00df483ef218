#pragma once

#include "platform/IReadableStream.h"

#include <string>

namespace avr { namespace player {

/// Whether a file that begins so is an ASF file.
bool isAsf(std::string const& head);

/// Seconds of audio that the header of an ASF file tells; 0 when it tells none, or this is none.
double asfDuration(Avr::Interface::IReadableStream& stream);

/// One line: why the WMA decoder does not play this file, and what to do. Empty when that is not
/// to be seen.
std::string asfComplaint(Avr::Interface::IReadableStream& stream);

}} // namespace avr::player
