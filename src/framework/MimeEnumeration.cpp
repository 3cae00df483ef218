#include "MimeEnumeration.h"

#include <cstring>

namespace kiv { namespace mimetype_ex {

bool enum_mimetype_from_format(const char* const& format, enumulator& cursor)
{
    const MimeTypeInfo* const end = mimeinfo_list + MimeTypeInfoSize;
    if (cursor.next == nullptr)
        cursor.next = mimeinfo_list;
    std::size_t const length = std::strlen(format);
    while (cursor.next != end) {
        const MimeTypeInfo& record = *cursor.next++;
        if (std::strncmp(record.format, format, length) == 0) {
            cursor.mimeType = record.mimeType;
            return true;
        }
    }
    return false;
}

}} // namespace kiv::mimetype_ex
