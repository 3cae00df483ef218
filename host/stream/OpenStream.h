#pragma once

#include "NetworkStream.h"

#include <boost/shared_ptr.hpp>

namespace avr { namespace host {

/// The stream of an address: a path, file://, http://, https://, mms://, mmsh://, or "-" for
/// standard input. Opens nothing.
/// @param error  receives what is wrong with the address, one line
/// @return null when there is no such kind of address
AVR_API boost::shared_ptr<Avr::Interface::IReadableStream>
makeStream(std::string const& address, NetworkLimits const& limits, std::string& error);

/// Whether an address leads over the network.
AVR_API bool isNetworkAddress(std::string const& address);

/// The path that a local address means; empty for any other.
AVR_API std::string localPath(std::string const& address);

}} // namespace avr::host
