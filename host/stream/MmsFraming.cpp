#include "MmsFraming.h"

#include "AsfHeaderFacts.h"
#include "AsfPadding.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace avr { namespace host {

namespace {

enum class Kind : std::uint8_t {
    Header = 'H',
    Packet = 'D',
    StreamChange = 'C',
    End = 'E',
    Metadata = 'M',
    PacketPair = 'P', ///< measures the line
    Test = 'T'
};

/// What the first byte has beside a bit that does not matter here.
constexpr std::uint8_t FrameByte = '$';
constexpr std::uint8_t FrameMask = 0x7F;

// Flags of a header's part.
constexpr std::uint8_t IsFirst = 0x04;
constexpr std::uint8_t IsLast = 0x08;
constexpr std::size_t FlagsAt = 9;

Kind kindOf(const std::uint8_t* head) { return static_cast<Kind>(head[1]); }

std::size_t lengthOf(const std::uint8_t* head)
{
    return head[2] | static_cast<std::size_t>(head[3]) << 8;
}

std::uint32_t reasonOf(const std::uint8_t* head)
{
    return head[4] | std::uint32_t{head[5]} << 8 | std::uint32_t{head[6]} << 16 |
           std::uint32_t{head[7]} << 24;
}

/// Bytes of the chunk that come before its body; negative for no kind of chunk.
int prefixBytes(const std::uint8_t* head)
{
    switch (kindOf(head)) {
    case Kind::Header:
    case Kind::Packet:
    case Kind::Metadata:
        return 8;
    case Kind::StreamChange:
    case Kind::End:
        return 4;
    case Kind::PacketPair:
    case Kind::Test:
        return 0;
    }
    return -1;
}

} // namespace

MmsFraming::Result MmsFraming::feed(const std::uint8_t* data, std::size_t bytes, std::size_t& taken)
{
    const std::uint8_t* from = data;
    const std::uint8_t* const end = data + bytes;
    Result result = Result::NeedsMore;
    while (result == Result::NeedsMore && takeHead(from, end) && takeBody(from, end))
        result = endChunk();
    taken = static_cast<std::size_t>(from - data);
    return m_reason.empty() ? result : Result::Broken;
}

/// @return true within the body
bool MmsFraming::takeHead(const std::uint8_t*& from, const std::uint8_t* end)
{
    while (!m_inBody && m_reason.empty() && from != end) {
        m_head[m_headBytes++] = *from++;
        if (m_headBytes == FrameBytes && !beginFrame())
            return false;
        if (m_headBytes == m_headWanted)
            m_inBody = beginChunk();
    }
    return m_inBody;
}

bool MmsFraming::beginFrame()
{
    int const prefix = prefixBytes(m_head.data());
    if ((m_head[0] & FrameMask) != FrameByte || prefix < 0 ||
        lengthOf(m_head.data()) < static_cast<std::size_t>(prefix))
        return fail("what the server sends is no MMS stream");
    m_headWanted = FrameBytes + static_cast<std::size_t>(prefix);
    m_bodyLeft = FrameBytes + lengthOf(m_head.data()) - m_headWanted;
    return true;
}

bool MmsFraming::beginChunk()
{
    switch (kindOf(m_head.data())) {
    case Kind::Header:
        return beginHeader();
    case Kind::Packet:
        return beginPacket();
    default:
        return true;
    }
}

bool MmsFraming::beginHeader()
{
    bool const isFirst = (m_head[FlagsAt] & IsFirst) != 0;
    if (isFirst == m_inHeader)
        return fail("the parts of the stream's header do not fit together");
    if (isFirst)
        m_output.clear();
    if (m_bodyLeft > MostHeaderBytes - m_output.size())
        return fail("the stream's header is too long");
    m_inHeader = true;
    m_packetBytes = 0;
    return true;
}

bool MmsFraming::beginPacket()
{
    if (m_packetBytes == 0)
        return fail("the stream does not begin with its header");
    if (m_bodyLeft > m_packetBytes)
        return fail("a packet of the stream is longer than its header says");
    m_output.clear();
    return true;
}

/// @return true at its end
bool MmsFraming::takeBody(const std::uint8_t*& from, const std::uint8_t* end)
{
    std::size_t const taken = std::min(m_bodyLeft, static_cast<std::size_t>(end - from));
    Kind const kind = kindOf(m_head.data());
    if (kind == Kind::Header || kind == Kind::Packet)
        m_output.insert(m_output.end(), from, from + taken);
    from += taken;
    m_bodyLeft -= taken;
    return m_bodyLeft == 0;
}

MmsFraming::Result MmsFraming::endChunk()
{
    m_headBytes = 0;
    m_inBody = false;
    switch (kindOf(m_head.data())) {
    case Kind::Header:
        return endHeader();
    case Kind::Packet:
        padAsfPacket(m_output, m_packetBytes);
        return Result::Packet;
    case Kind::StreamChange:
        m_packetBytes = 0; // another header tells it again
        return Result::StreamChange;
    case Kind::End:
        m_packetBytes = 0;
        return endResult();
    default:
        return Result::NeedsMore;
    }
}

MmsFraming::Result MmsFraming::endHeader()
{
    if ((m_head[FlagsAt] & IsLast) == 0)
        return Result::NeedsMore;
    m_inHeader = false;
    m_packetBytes = asfPacketBytes(m_output);
    if (m_packetBytes == 0 || m_packetBytes > MostPacketBytes)
        fail("the stream's header does not tell how long its packets are");
    return Result::Header;
}

MmsFraming::Result MmsFraming::endResult()
{
    constexpr std::uint32_t MoreFollows = 1;
    constexpr std::uint32_t IsError = 0x80000000;
    std::uint32_t const reason = reasonOf(m_head.data());
    if ((reason & IsError) != 0) {
        char text[64];
        std::snprintf(text, sizeof text, "the server ended the stream with error 0x%08" PRIX32,
                      reason);
        fail(text);
    }
    return reason == MoreFollows ? Result::EndMoreFollows : Result::End;
}

bool MmsFraming::fail(const char* reason)
{
    m_reason = reason;
    return false;
}

}} // namespace avr::host
