#pragma once

#include "decoder/Export.h"

#include <cstddef>
#include <string>

namespace avr { namespace host {

/// The MIME type of the first record of the table that has the name's ending, in any case of
/// letters; null when there is none.
AVR_API const char* mimeTypeFromName(std::string const& path);

/// The MIME type that the first bytes of a file tell; empty when they tell none. Headerless PCM
/// cannot be told. Some 4 KiB are plenty.
AVR_API std::string sniffFormat(const void* head, std::size_t bytes);

}} // namespace avr::host
