#pragma once

#include "platform/Mp3TagParser.h"

#include <cstddef>
#include <cstdint>

namespace avr { namespace host {

constexpr std::size_t Id3v2HeadBytes = 10;

/// @param head  Id3v2HeadBytes
/// @return bytes of the whole tag; 0 when this is none
inline std::uint64_t id3v2Bytes(const std::uint8_t* head)
{
    return CMp3TagParser(head, Id3v2HeadBytes, true, false, false).getID3v2HeaderSize();
}

}} // namespace avr::host
