#include "platform/Mp3TagParser.h"

#include <cstring>

namespace {

constexpr unsigned int HeadBytes = 10; // of a footer too
constexpr unsigned char HasFooter = 0x10;

unsigned int tagBytes(const unsigned char* head)
{
    if (std::memcmp(head, "ID3", 3) != 0 || head[3] == 0xFF || head[4] == 0xFF)
        return 0;
    unsigned int size = 0;
    for (int i = 6; i < 10; ++i) {
        if (head[i] >= 0x80)
            return 0;
        size = size << 7 | head[i];
    }
    return HeadBytes + size + (head[5] & HasFooter ? HeadBytes : 0);
}

} // namespace

CMp3TagParser::CMp3TagParser(const void* data, unsigned int size, bool id3v2, bool, bool)
{
    if (id3v2 && size >= HeadBytes)
        m_id3v2Size = tagBytes(static_cast<const unsigned char*>(data));
}
