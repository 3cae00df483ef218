#pragma once

#include "LowerCase.h"
#include "decoder/WaveFormat.h"

#include <cstddef>
#include <string>

namespace avr { namespace player {

/// File names and titles come from anywhere: control characters must not reach the terminal.
std::string printable(std::string const& text);

/// The beginning of UTF-8 text that fits into so many columns of a terminal.
std::string cutToColumns(std::string const& text, std::size_t columns);

/// "1:02:03" or "2:03".
std::string timeText(double seconds);

/// Seconds, mm:ss or hh:mm:ss, each with fractions of a second.
/// @return false when it is none of these
bool parseTime(std::string const& text, kiv::appli::TimeSpec& time);

double toSeconds(kiv::appli::TimeSpec const& time);
kiv::appli::TimeSpec toTimeSpec(double seconds);

using host::lowerCase;

/// What an errno says, as it stands within a line.
std::string errnoText(int number);

/// Writes all of it. Nobody else's line comes in between when it is one line.
/// @return 0, or the errno of what kept the rest from being written
int writeText(int descriptor, std::string const& text);

}} // namespace avr::player
