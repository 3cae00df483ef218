// The small services: MIME table, tags of MP3 files, text.
#include "platform/MimeTable.h"
#include "platform/Mp3TagParser.h"
#include "platform/Utf16.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace kiv { namespace mimetype_ex {

// What this device plays; a type that stands here is announced to the network.
const MimeTypeInfo mimeinfo_list[] = {
    {"lpcm", "", "audio/l16", "Linear PCM"},    {"wav", "wav", "audio/wav", "WAVE"},
    {"wav", "", "audio/x-wav", "WAVE"},         {"ogg", "ogg,oga", "audio/ogg", "Ogg Vorbis"},
    {"flac", "flac", "audio/flac", "FLAC"},     {"flac", "", "audio/x-flac", "FLAC"},
    {"he-aac", "aacp", "audio/aacp", "HE-AAC"},
};
const unsigned int MimeTypeInfoSize = std::size(mimeinfo_list);

}} // namespace kiv::mimetype_ex

CMp3TagParser::CMp3TagParser(const void* data, unsigned int size, bool id3v2, bool, bool)
{
    constexpr unsigned int Head = 10;
    const auto* const head = static_cast<const std::uint8_t*>(data);
    if (!id3v2 || size < Head || head[0] != 'I' || head[1] != 'D' || head[2] != '3' ||
        head[3] == 0xFF || head[4] == 0xFF)
        return;
    if (((head[6] | head[7] | head[8] | head[9]) & 0x80) != 0) // 7 bits in each
        return;
    unsigned int const footer = (head[5] & 0x10) != 0 ? Head : 0;
    for (int i = 6; i < 10; ++i)
        m_id3v2Size = m_id3v2Size << 7 | head[i];
    m_id3v2Size += Head + footer;
}

namespace {

/// The character at the units' beginning. @return how many of them it takes
unsigned int decode(const std::uint8_t* units, std::uint32_t& character)
{
    auto const unit = [units](int i) {
        return units[2 * i] | std::uint32_t(units[2 * i + 1]) << 8;
    };
    character = unit(0);
    if (character < 0xD800 || character > 0xDFFF)
        return 1;
    std::uint32_t const low = character < 0xDC00 ? unit(1) : 0;
    bool const pair = low >= 0xDC00 && low <= 0xDFFF;
    character = pair ? 0x10000 + ((character - 0xD800) << 10) + low - 0xDC00 : 0xFFFD;
    return pair ? 2 : 1;
}

} // namespace

unsigned int convert_utf16_to_utf8(const void* source, char* destination, unsigned int size)
{
    if (!source || !destination)
        return 0;
    unsigned int written = 0;
    std::uint32_t character = 0;
    for (const auto* units = static_cast<const std::uint8_t*>(source);;) {
        units += 2 * decode(units, character);
        unsigned int const bytes = character < 0x80      ? 1
                                   : character < 0x800   ? 2
                                   : character < 0x10000 ? 3
                                                         : 4;
        if (character == 0 || bytes > size - written)
            break;
        for (unsigned int i = bytes - 1; i > 0; --i, character >>= 6)
            destination[written + i] = static_cast<char>(0x80 | (character & 0x3F));
        destination[written] =
            static_cast<char>(bytes == 1 ? character : (0xF00u >> bytes | character));
        written += bytes;
    }
    if (written < size)
        destination[written] = '\0';
    return written;
}
