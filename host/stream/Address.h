#pragma once

#include <string>

namespace avr { namespace host {

/// What an address begins with, in front of "://", in lower case; empty for a path.
std::string schemeOf(std::string const& address);

/// The path that a file:// address means; empty when it means none on this machine.
std::string pathOfFileUrl(std::string const& url);

/// Where an entry of a play list lies. What comes out never looks like an option.
/// @param base      path or address of the play list
/// @param relative  an address, or a path; is not empty
std::string resolveAddress(std::string const& base, std::string const& relative);

}} // namespace avr::host
