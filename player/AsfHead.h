#pragma once

#include <string>

namespace avr { namespace player {

/// Seconds of audio that the header of an ASF file tells; 0 when it tells none, or there is no such
/// file.
double asfDuration(std::string const& path);

/// One line: why the WMA decoder does not play this file, and what to do. Empty when that is not
/// to be seen.
std::string asfComplaint(std::string const& path);

}} // namespace avr::player
