#pragma once

#include "decoder/Export.h"
#include "platform/MimeTable.h"

namespace kiv { namespace mimetype_ex {

/// A walk over the platform's MIME table; starts empty.
struct enumulator {
    const MimeTypeInfo* next = nullptr; ///< the record to examine next; null before the first call
    const char* mimeType = nullptr;     ///< found by the last successful call
};

/// Moves to the next record whose format name begins with `format` ("wav" also finds
/// "wav-testmode", "" finds all; letters count as they stand). @return false at the table's end
AVR_API bool enum_mimetype_from_format(const char* const& format, enumulator& cursor);

}} // namespace kiv::mimetype_ex
