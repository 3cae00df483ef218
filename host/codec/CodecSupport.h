#pragma once

#include "decoder/Export.h"

#include <string>

namespace avr { namespace host {

/// Why a module of the codecs could not be loaded; empty when each that was needed could. Any
/// thread.
AVR_API std::string missingCodecs();

}} // namespace avr::host
