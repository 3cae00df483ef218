#pragma once

#include "decoder/Export.h"

namespace kiv { namespace mimetype_ex {

/// One MIME type of one format; four pointer-sized words.
struct MimeTypeInfo {
    const char* format;     ///< format name, for example "mp3"
    const char* extensions; ///< file name endings, comma-separated, no dot; not read by the library
    const char* mimeType;   ///< lower case
    const char* title;      ///< for people; not read by the library
};
static_assert(sizeof(MimeTypeInfo) == 4 * sizeof(void*), "the registry walks it by words");

/// The platform's table.
extern AVR_API const MimeTypeInfo mimeinfo_list[];
/// Its number of records.
extern AVR_API const unsigned int MimeTypeInfoSize;

}} // namespace kiv::mimetype_ex
