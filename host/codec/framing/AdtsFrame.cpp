#include "AdtsFrame.h"

#include "Id3v2.h"

#include <algorithm>

namespace avr { namespace host {

bool parseAdtsHeader(const std::uint8_t* bytes, AdtsHeader& header)
{
    if (bytes[0] != 0xFF || (bytes[1] & 0xF6) != 0xF0) // sync word and layer
        return false;
    bool const hasCrc = (bytes[1] & 1) == 0;
    header.format.objectType = (bytes[2] >> 6) + 1u;
    header.format.rateIndex = bytes[2] >> 2 & 15u;
    header.format.channels = (bytes[2] & 1u) << 2 | bytes[3] >> 6;
    header.frameBytes = (bytes[3] & 3u) << 11 | bytes[4] * 8u | bytes[5] >> 5;
    header.blocks = (bytes[6] & 3u) + 1;
    // With a CRC the places of all blocks but the first stand in front of it.
    header.headerBytes = AdtsHeader::FixedBytes + (hasCrc ? header.blocks * std::size_t{2} : 0);
    header.blocksHaveCrc = hasCrc && header.blocks > 1;
    return header.format.rateIndex < AacRates && header.frameBytes > header.headerBytes;
}

int AdtsReader::next(std::uint8_t* frame, std::size_t capacity)
{
    capacity = std::min(capacity, MostFrameBytes);
    for (std::size_t passed = 0; passed < MostWithoutFrame;) {
        if (!m_window.hold(AdtsHeader::FixedBytes))
            return 0;
        std::uint64_t const tag = tagBytes();
        AdtsHeader header;
        if (tag != 0) {
            skip(tag);
        } else if (!parseAdtsHeader(m_window.at(), header) || (m_lost && !isProven(header))) {
            m_lost = true;
            m_window.drop(1);
            ++passed;
        } else if (header.frameBytes > capacity) {
            skip(header.frameBytes);
            passed += header.frameBytes;
        } else if (m_window.hold(header.frameBytes)) {
            std::copy_n(m_window.at(), header.frameBytes, frame);
            m_window.drop(header.frameBytes);
            m_lost = false;
            return static_cast<int>(header.frameBytes);
        }
        if (m_window.failed())
            return 0;
    }
    return NoFrame;
}

void AdtsReader::skip(std::uint64_t bytes)
{
    while (bytes != 0 && !m_window.failed())
        bytes -= m_window.skip(bytes);
}

/// The size of the tag that stands next; 0 when there is none.
std::uint64_t AdtsReader::tagBytes()
{
    bool const may = std::equal(m_window.at(), m_window.at() + 3, "ID3");
    return may && m_window.hold(Id3v2HeadBytes) ? id3v2Bytes(m_window.at()) : 0;
}

/// Whether another frame of the same kind, or a tag, stands behind.
bool AdtsReader::isProven(AdtsHeader const& header)
{
    if (header.frameBytes > MostFrameBytes ||
        !m_window.hold(header.frameBytes + AdtsHeader::FixedBytes))
        return false;
    const std::uint8_t* const behind = m_window.at() + header.frameBytes;
    AdtsHeader next;
    return std::equal(behind, behind + 3, "ID3") ||
           (parseAdtsHeader(behind, next) && next.format.rateIndex == header.format.rateIndex &&
            next.format.channels == header.format.channels);
}

}} // namespace avr::host
