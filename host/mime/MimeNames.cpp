#include "MimeNames.h"

#include "platform/MimeTable.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace avr { namespace host {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t FirstOggPacket = 28; ///< behind the header of the first page

/// In ASCII, whatever the locale is.
char lowered(char letter) { return letter >= 'A' && letter <= 'Z' ? char(letter + 32) : letter; }

/// What stands behind the last dot of the last part of the path.
std::string ending(std::string const& path)
{
    const std::string name = path.substr(path.find_last_of('/') + 1);
    const std::size_t dot = name.find_last_of('.');
    std::string found = dot == std::string::npos || dot == 0 ? "" : name.substr(dot + 1);
    std::transform(found.begin(), found.end(), found.begin(), lowered);
    return found;
}

bool hasEntry(std::string_view list, std::string_view entry)
{
    while (!list.empty()) {
        const std::size_t comma = std::min(list.find(','), list.size());
        if (list.substr(0, comma) == entry)
            return true;
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return false;
}

bool hasAt(std::string_view head, std::size_t at, std::string_view text)
{
    return head.size() >= at && head.substr(at, text.size()) == text;
}

std::uint8_t byteAt(std::string_view head, std::size_t at) { return std::uint8_t(head[at]); }

/// A frame header of an AAC stream: sync word, layer 0, a sampling rate that exists.
bool isAdtsFrame(std::string_view head)
{
    return head.size() >= 7 && byteAt(head, 0) == 0xFF && (byteAt(head, 1) & 0xF6) == 0xF0 &&
           (byteAt(head, 2) >> 2 & 0xF) < 13;
}

/// Plain AAC seldom has so low a rate: mostly an HE-AAC stream has its core there. Its decoder
/// plays both.
bool isHeAacCore(std::string_view adtsFrame)
{
    constexpr int Index24kHz = 6; // lower rates have higher ones
    const int channels = (byteAt(adtsFrame, 2) & 1) << 2 | byteAt(adtsFrame, 3) >> 6;
    return (byteAt(adtsFrame, 2) >> 2 & 0xF) >= Index24kHz && channels == 2;
}

/// A frame header of layer III with a version, bit rate and sampling rate that exist.
bool isMp3Frame(std::string_view head)
{
    return head.size() >= 4 && byteAt(head, 0) == 0xFF && (byteAt(head, 1) & 0xE6) == 0xE2 &&
           (byteAt(head, 1) >> 3 & 3) != 1 && byteAt(head, 2) >> 4 != 0xF &&
           (byteAt(head, 2) >> 2 & 3) != 3;
}

/// The length of a tag at the beginning with its header, 0 when there is none.
std::size_t id3Length(std::string_view head)
{
    if (!hasAt(head, 0, "ID3") || head.size() < 10)
        return 0;
    std::size_t length = 0;
    for (std::size_t at = 6; at < 10; ++at)
        length = length << 7 | (byteAt(head, at) & 0x7Fu);
    return length + 10;
}

const char* typeOf(std::string_view head)
{
    if (hasAt(head, 0, "RIFF") && hasAt(head, 8, "WAVE"))
        return "audio/wav";
    if (hasAt(head, 0, "OggS")) // other codecs come in Ogg, too
        return hasAt(head, FirstOggPacket, "\x01vorbis"sv) ? "audio/ogg" : "";
    if (hasAt(head, 0, "fLaC"))
        return "audio/flac";
    if (hasAt(head, 0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv))
        return "audio/x-ms-wma";
    if (hasAt(head, 4, "ftyp"))
        return "audio/mp4";
    if (isAdtsFrame(head))
        return isHeAacCore(head) ? "audio/aacp" : "audio/aac";
    if (hasAt(head, 0, "ADIF"))
        return "audio/aac";
    return isMp3Frame(head) ? "audio/mpeg" : "";
}

} // namespace

const char* mimeTypeFromName(std::string const& path)
{
    const std::string wanted = ending(path);
    const auto* const first = kiv::mimetype_ex::mimeinfo_list;
    const auto* const last = first + kiv::mimetype_ex::MimeTypeInfoSize;
    const auto* const found = std::find_if(first, last, [&](auto const& record) {
        return !wanted.empty() && hasEntry(record.extensions, wanted);
    });
    return found == last ? nullptr : found->mimeType;
}

std::string sniffFormat(const void* head, std::size_t bytes)
{
    const std::string_view all(static_cast<const char*>(head), head ? bytes : 0);
    const std::size_t tag = id3Length(all);
    const std::string found = typeOf(all.substr(std::min(tag, all.size())));
    // Tags stand before other formats too, but nearly always before this one.
    return found.empty() && tag != 0 ? "audio/mpeg" : found;
}

}} // namespace avr::host
