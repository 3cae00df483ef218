#include "RiffHead.h"

#include <cstring>

namespace kiv { namespace appli {

namespace {

constexpr std::uint64_t ChunkHeader = 8;

/// The head of a file, with zeros behind it.
class Head {
public:
    Head(const std::uint8_t* bytes, std::size_t size) : m_bytes(bytes), m_size(size) {}

    std::size_t size() const { return m_size; }
    bool tagAt(std::uint64_t offset, const char (&tag)[5]) const
    {
        return offset + 4 <= m_size && std::memcmp(m_bytes + offset, tag, 4) == 0;
    }
    std::uint16_t u16(std::uint64_t offset) const
    {
        return static_cast<std::uint16_t>(byte(offset) | byte(offset + 1) << 8);
    }
    std::uint32_t u32(std::uint64_t offset) const
    {
        return u16(offset) | static_cast<std::uint32_t>(u16(offset + 2)) << 16;
    }

private:
    unsigned byte(std::uint64_t offset) const { return offset < m_size ? m_bytes[offset] : 0; }

    const std::uint8_t* m_bytes;
    std::size_t m_size;
};

tWAVEFORMAT formatAt(Head const& head, std::uint64_t body)
{
    tWAVEFORMAT format;
    format.formatTag = head.u16(body);
    format.channels = head.u16(body + 2);
    format.samplesPerSecond = head.u32(body + 4);
    format.averageBytesPerSecond = head.u32(body + 8);
    format.blockAlign = head.u16(body + 12);
    format.bitsPerSample = head.u16(body + 14);
    format.extraSize = head.u16(body + 16);
    format.validBitsPerSample = head.u16(body + 18);
    format.channelMask = head.u32(body + 20);
    return format;
}

} // namespace

RiffHead parseRiffHead(const std::uint8_t* bytes, std::size_t size)
{
    Head const head(bytes, size);
    RiffHead riff;
    std::uint64_t start = 0;
    while (start < size && !head.tagAt(start, "RIFF"))
        ++start;
    if (!head.tagAt(start + 8, "WAVE"))
        return riff;

    std::uint64_t chunk = start + 12;
    while (chunk < size && !head.tagAt(chunk, "data")) {
        if (head.tagAt(chunk, "fmt "))
            riff.format = formatAt(head, chunk + ChunkHeader);
        chunk += ChunkHeader + head.u32(chunk + 4);
    }
    riff.distance = chunk;
    riff.status = chunk > size ? RiffHead::Status::RanOver : RiffHead::Status::Found;
    riff.dataOffset = static_cast<std::uint32_t>(chunk + ChunkHeader);
    riff.dataSize = head.u32(chunk + 4);
    return riff;
}

}} // namespace kiv::appli
