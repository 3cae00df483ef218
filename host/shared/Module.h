#pragma once

#include <string>

namespace avr { namespace host {

/// Loads a module that stands beside this library, or where the system looks for libraries. It
/// stays loaded: what came out of it may be used at any time.
/// @param name    its entry
/// @param reason  receives why there is none
/// @return the entry, or null
void const* moduleEntry(const char* fileName, const char* name, std::string& reason);

}} // namespace avr::host
