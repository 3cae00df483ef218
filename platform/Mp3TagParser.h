#pragma once

#include "decoder/Export.h"

/// Recognises the tags of MP3 files. Reads its input within the constructor only.
class AVR_API CMp3TagParser {
public:
    /// @param data, size   the beginning of the file; 10 bytes tell the size of an ID3v2 tag
    /// @param id3v2        look for an ID3v2 tag
    /// @param id3v1, ape   other tags, which the library does not ask for
    CMp3TagParser(const void* data, unsigned int size, bool id3v2, bool id3v1, bool ape);

    /// Bytes of the whole ID3v2 tag, header and footer included; 0 when there is none.
    unsigned int getID3v2HeaderSize() const { return m_id3v2Size; }

private:
    unsigned int m_id3v2Size = 0;
};
