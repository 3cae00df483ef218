#include "AsfPackets.h"

#include "LittleEndian.h"

#include <utility>

namespace avr { namespace host {

namespace {

/// Of a packet; many times what makes sense.
constexpr std::size_t MostPayloads = 4096;

/// A number whose length is told by the low bits of a code.
std::uint32_t takeField(ByteReader& in, unsigned int code)
{
    constexpr unsigned int Lengths[] = {0, 1, 2, 4};
    return in.take(Lengths[code & 3]);
}

/// How the payloads of a packet are written.
struct PacketLayout {
    unsigned int properties;
    bool hasLengths;
    unsigned int lengthCode;
};

/// Whole small blocks at a regular distance, each with its length in front.
void splitBlocks(AsfPayload blocks, unsigned int distance, std::vector<AsfPayload>& payloads)
{
    ByteReader in(blocks.data, blocks.bytes);
    AsfPayload block = blocks;
    for (; in.left() != 0; block.time += distance) {
        block.blockBytes = in.take(1);
        block.data = in.at();
        block.bytes = block.blockBytes;
        in.skip(block.bytes);
        if (in.overran() || payloads.size() == MostPayloads)
            break;
        if (block.bytes != 0)
            payloads.push_back(block);
    }
}

/// @return false when it is broken
bool takePayload(ByteReader& in, PacketLayout const& layout, std::uint8_t stream,
                 std::vector<AsfPayload>& payloads)
{
    bool const isWanted = (in.take(1) & 0x7F) == stream;
    AsfPayload payload = {};
    payload.block = takeField(in, layout.properties >> 4);
    payload.offset = takeField(in, layout.properties >> 2);
    std::size_t replicated = takeField(in, layout.properties);
    bool const hasWholeBlocks = replicated == 1;
    unsigned int const distance = hasWholeBlocks ? in.take(1) : 0;
    if (hasWholeBlocks) {
        payload.time = std::exchange(payload.offset, 0);
        replicated = 0;
    } else if (replicated >= 8) {
        payload.blockBytes = in.take(4);
        payload.time = in.take(4);
        replicated -= 8;
    }
    in.skip(replicated);
    payload.bytes = layout.hasLengths ? takeField(in, layout.lengthCode) : in.left();
    payload.data = in.at();
    in.skip(payload.bytes);
    if (in.overran())
        return false;
    if (isWanted && hasWholeBlocks)
        splitBlocks(payload, distance, payloads);
    else if (isWanted)
        payloads.push_back(payload);
    return true;
}

/// Passes the error correction's data. @return false when how long they are is not known
bool skipCorrection(ByteReader& in)
{
    unsigned int const flags = in.left() != 0 ? *in.at() : 0;
    if ((flags & 0x80) != 0)
        in.skip(1 + (flags & 0x0F));
    return (flags & 0x80) == 0 || (flags & 0x60) == 0;
}

} // namespace

void parseAsfPacket(const std::uint8_t* packet, std::size_t bytes, std::uint8_t stream,
                    std::vector<AsfPayload>& payloads)
{
    payloads.clear();
    ByteReader in(packet, bytes);
    if (!skipCorrection(in))
        return;
    unsigned int const flags = in.take(1);
    PacketLayout layout = {in.take(1), (flags & 1) != 0, 0};
    std::size_t const told = takeField(in, flags >> 5);
    takeField(in, flags >> 1); // the packet's number
    std::size_t const padding = takeField(in, flags >> 3);
    in.skip(4 + 2); // its time and duration
    unsigned int const counts = layout.hasLengths ? in.take(1) : 1;
    layout.lengthCode = counts >> 6;

    std::size_t const packetBytes = (flags >> 5 & 3) != 0 ? told : bytes;
    std::size_t const head = static_cast<std::size_t>(in.at() - packet);
    if (packetBytes > bytes || head > packetBytes || padding > packetBytes - head)
        return;
    ByteReader body(in.at(), packetBytes - head - padding);
    for (unsigned int left = counts & 0x3F; left != 0; --left)
        if (!takePayload(body, layout, stream, payloads))
            return;
}

AsfPackets::AsfPackets(AsfHeader header, AsfRead read, Seek seek)
    : m_header(std::move(header)), m_read(std::move(read)), m_seek(std::move(seek))
{}

AsfPackets::Result AsfPackets::next()
{
    constexpr int ManyPackets = 16;
    for (int packets = 0; packets < ManyPackets; ++packets) {
        while (m_payload < m_payloads.size())
            if (take(m_payloads[m_payload++]))
                return Result::Block;
        if (!readPacket())
            return Result::End;
    }
    return Result::Nothing;
}

bool AsfPackets::readPacket()
{
    m_payloads.clear();
    m_payload = 0;
    if (m_failed || (!m_header.isBroadcast && m_packet == m_header.packets))
        return false;
    std::size_t const bytes = m_header.packetBytes;
    m_bytes.resize(bytes + PaddingBytes);
    m_failed = !m_read(m_bytes.data(), bytes);
    if (m_failed)
        return false;
    ++m_packet;
    parseAsfPacket(m_bytes.data(), bytes, m_header.stream.number, m_payloads);
    return true;
}

/// @return true when the block is complete
bool AsfPackets::take(AsfPayload const& payload)
{
    if (payload.offset == 0 || m_complete)
        m_block.clear();
    m_complete = nullptr;
    if (payload.offset == 0) {
        m_blockNumber = payload.block;
        m_blockBytes = std::min(payload.blockBytes, MostAsfBlockBytes);
        m_time = payload.time;
    }
    bool const fits = payload.block == m_blockNumber && payload.offset == m_block.size() &&
                      payload.blockBytes == m_blockBytes && payload.bytes != 0 &&
                      payload.bytes <= m_blockBytes - m_block.size();
    if (!fits) {
        m_block.clear();
        return false;
    }
    bool const isWhole = payload.bytes == m_blockBytes;
    if (!isWhole)
        m_block.insert(m_block.end(), payload.data, payload.data + payload.bytes);
    if (!isWhole && m_block.size() < m_blockBytes)
        return false;
    m_block.resize(m_block.size() + PaddingBytes);
    m_complete = isWhole ? payload.data : m_block.data();
    putInOrder();
    return true;
}

/// Gathers what was spread over the block, so that a loss would not hit neighbours.
void AsfPackets::putInOrder()
{
    std::size_t const span = m_header.stream.span, chunk = m_header.stream.chunkBytes;
    std::size_t const packet = m_header.stream.virtualPacketBytes;
    if (span == 0 || m_blockBytes != span * packet)
        return;
    std::vector<std::uint8_t> ordered;
    ordered.reserve(m_blockBytes + PaddingBytes);
    for (std::size_t row = 0; row < packet; row += chunk)
        for (std::size_t column = 0; column < span; ++column) {
            const std::uint8_t* const from = m_complete + row + column * packet;
            ordered.insert(ordered.end(), from, from + chunk);
        }
    ordered.resize(ordered.size() + PaddingBytes);
    m_block.swap(ordered);
    m_complete = m_block.data();
}

std::optional<std::uint32_t> AsfPackets::moveTo(std::uint32_t milliseconds)
{
    std::uint64_t const packets = m_header.packets, duration = m_header.duration;
    std::uint64_t const packet = std::min(milliseconds * packets / duration, packets - 1);
    if (!m_seek(m_header.dataAt + packet * m_header.packetBytes)) {
        // A read that the wish ended may have taken a part of the next one.
        if (m_seek(m_header.dataAt + std::uint64_t{m_packet} * m_header.packetBytes))
            m_failed = false;
        return {};
    }
    m_packet = static_cast<std::uint32_t>(packet);
    m_failed = false;
    m_payloads.clear();
    m_payload = 0;
    m_block.clear();
    return static_cast<std::uint32_t>(packet * duration / packets);
}

}} // namespace avr::host
