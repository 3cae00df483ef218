#include "Mp3Reader.h"

#include "Id3v2.h"

#include <algorithm>
#include <cstring>

namespace avr { namespace host {

namespace {

/// Where a frame may be. The caller's own limit is lower.
constexpr std::uint64_t Reach = 1u << 19;
/// What a fetch reads of tags, once the stream plays.
constexpr std::uint64_t Slice = 1u << 16;

constexpr std::size_t ApeHeadBytes = 32;

bool begins(const std::uint8_t* data, const char* name)
{
    return std::memcmp(data, name, std::strlen(name)) == 0;
}

/// Of the first four bytes.
bool mayBeTag(const std::uint8_t* head)
{
    return begins(head, "ID3") || begins(head, "TAG") || begins(head, "APET");
}

/// @param head  the ApeHeadBytes in front of a tag, or behind one that has none in front
std::uint64_t apeTagBytes(const std::uint8_t* head)
{
    constexpr std::uint8_t IsInFront = 0x20;
    if (!begins(head, "APETAGEX"))
        return 0;
    std::uint64_t size = 0;
    for (int i = 3; i >= 0; --i)
        size = size << 8 | head[12 + i];
    return ApeHeadBytes + (head[23] & IsInFront ? size : 0);
}

} // namespace

Mp3Reader::Result Mp3Reader::fetch()
{
    m_resumed = false;
    std::uint64_t const begin = m_window.bytesRead();
    for (std::uint64_t fetched = 0; fetched < Reach; fetched = m_window.bytesRead() - begin) {
        if (m_toSkip != 0 && isLocked() && fetched >= Slice)
            return Result::Skipped;
        if (m_toSkip != 0)
            m_toSkip -= m_window.skip(m_toSkip);
        else if (m_window.hold(Mp3HeaderBytes)) {
            m_toSkip = tagBytes();
            if (m_toSkip == 0 && !m_window.failed() && takeFrame() && !takeInfo())
                return Result::Frame;
        }
        if (m_window.failed()) {
            m_toSkip = 0;
            m_lost = true;
            return Result::Nothing;
        }
    }
    return Result::Nothing;
}

/// @return 0 when it is none
std::uint64_t Mp3Reader::tagBytes()
{
    if (begins(at(), "TAG"))
        return 128;
    if (begins(at(), "ID3"))
        return m_window.hold(Id3v2HeadBytes) ? id3v2Bytes(at()) : 0;
    return begins(at(), "APET") && m_window.hold(ApeHeadBytes) ? apeTagBytes(at()) : 0;
}

/// Passes one frame, or one byte when there is none.
bool Mp3Reader::takeFrame()
{
    auto const header = parseMp3Header(at());
    bool const fits = header && (!m_lockProven || sameMp3Stream(at(), m_lock.data()));
    if (!fits || !m_window.hold(header->bytes) || !isProven(header->bytes)) {
        m_lost = true;
        m_window.drop(1);
        return false;
    }
    m_lockProven = m_lost || (isLocked() && sameMp3Stream(at(), m_lock.data()));
    std::copy_n(at(), m_lock.size(), m_lock.begin());
    std::copy_n(at(), header->bytes, m_frame.begin());
    std::fill_n(m_frame.begin() + header->bytes, Padding, std::uint8_t(0));
    m_window.drop(header->bytes);
    m_header = *header;
    m_resumed |= m_lost;
    m_lost = false;
    return true;
}

/// In a row of frames they need no proof.
bool Mp3Reader::isProven(std::uint32_t bytes)
{
    if (!m_lost)
        return true;
    if (!m_window.hold(bytes + Mp3HeaderBytes))
        return false;
    const std::uint8_t* const next = at() + bytes;
    return mayBeTag(next) || (parseMp3Header(next) && sameMp3Stream(at(), next));
}

/// @return true when the frame is no audio
bool Mp3Reader::takeInfo()
{
    auto const info = parseMp3Info(frame(), m_header);
    if (info && m_average == 0)
        m_average = info->averageBitRate;
    return info.has_value();
}

}} // namespace avr::host
