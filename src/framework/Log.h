#pragma once

#include <string>

namespace Avr { namespace Decoder {

/// One line to standard error, composed first and written at once, so that the lines of two
/// threads never mix.
void logLine(std::string const& line);

}} // namespace Avr::Decoder
