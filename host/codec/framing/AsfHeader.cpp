#include "AsfHeader.h"

#include "AsfGuids.h"
#include "LittleEndian.h"

#include <algorithm>

namespace avr { namespace host {

namespace {

using namespace asf;

constexpr Guid HeaderObject = {0x30, 0x26, 0xB2, 0x75, 0x8E, 0x66, 0xCF, 0x11,
                               0xA6, 0xD9, 0x00, 0xAA, 0x00, 0x62, 0xCE, 0x6C};
constexpr Guid DataObject = {0x36, 0x26, 0xB2, 0x75, 0x8E, 0x66, 0xCF, 0x11,
                             0xA6, 0xD9, 0x00, 0xAA, 0x00, 0x62, 0xCE, 0x6C};
constexpr Guid ContentEncryption = {0xFB, 0xB3, 0x11, 0x22, 0x23, 0xBD, 0xD2, 0x11,
                                    0xB4, 0xB7, 0x00, 0xA0, 0xC9, 0x55, 0xFC, 0x6E};
constexpr Guid ExtendedEncryption = {0x14, 0xE6, 0x8A, 0x29, 0x22, 0x26, 0x17, 0x4C,
                                     0xB9, 0x35, 0xDA, 0xE0, 0x7E, 0xE9, 0x28, 0x9C};
constexpr Guid AudioSpread = {0x50, 0xCD, 0xC3, 0xBF, 0x8F, 0x61, 0xCF, 0x11,
                              0x8B, 0xB2, 0x00, 0xAA, 0x00, 0xB4, 0xE2, 0x20};

constexpr std::size_t DataHead = 50;
constexpr std::size_t FormatAt = 78; ///< in the stream's properties
constexpr std::size_t FormatBytes = 18;

/// The memory grows with what is really there, whatever the size says.
bool append(std::vector<std::uint8_t>& to, AsfRead const& read, std::uint64_t bytes)
{
    constexpr std::uint64_t Slice = 1u << 16;
    for (std::uint64_t slice; bytes != 0; bytes -= slice) {
        slice = std::min(bytes, Slice);
        to.resize(to.size() + static_cast<std::size_t>(slice));
        if (!read(to.data() + to.size() - slice, static_cast<std::size_t>(slice)))
            return false;
    }
    return true;
}

void takeFile(const std::uint8_t* object, AsfHeader& header)
{
    constexpr std::uint64_t Ticks = 10000; ///< of a millisecond
    constexpr std::uint64_t Longest = UINT32_MAX - 1;
    std::uint64_t const play = littleEndian(object + 64, 8) / Ticks;
    std::uint64_t const preroll = littleEndian(object + 80, 8);
    header.duration = static_cast<std::uint32_t>(std::min(play - std::min(play, preroll), Longest));
    header.preroll = static_cast<std::uint32_t>(std::min(preroll, Longest));
    header.isBroadcast = (object[88] & 1) != 0;
    header.packetBytes = static_cast<std::uint32_t>(littleEndian(object + 96, 4));
}

void takeFormat(ByteReader& in, AsfStream& stream)
{
    stream.formatTag = static_cast<std::uint16_t>(in.take(2));
    stream.channels = static_cast<std::uint16_t>(in.take(2));
    stream.samplingRate = in.take(4);
    stream.bytesPerSecond = in.take(4);
    stream.blockAlign = static_cast<std::uint16_t>(in.take(2));
    stream.bitsPerSample = static_cast<std::uint16_t>(in.take(2));
    std::size_t const extra = in.take(2);
    stream.extra.assign(in.at(), in.at() + std::min(extra, in.left()));
}

void takeSpread(ByteReader& in, AsfStream& stream)
{
    unsigned int const span = in.take(1), packet = in.take(2), chunk = in.take(2);
    if (in.overran() || span < 2 || chunk == 0 || packet <= chunk || packet % chunk != 0)
        return;
    stream.span = static_cast<std::uint8_t>(span);
    stream.virtualPacketBytes = static_cast<std::uint16_t>(packet);
    stream.chunkBytes = static_cast<std::uint16_t>(chunk);
}

/// @param bytes  at least FormatAt + FormatBytes
void takeStream(const std::uint8_t* object, std::size_t bytes, AsfStream& stream)
{
    std::uint64_t const flags = littleEndian(object + 72, 2);
    stream.number = flags & 0x7F;
    stream.isEncrypted = (flags & 0x8000) != 0;
    std::size_t const formatBytes = static_cast<std::size_t>(
        std::min<std::uint64_t>(littleEndian(object + 64, 4), bytes - FormatAt));
    ByteReader format(object + FormatAt, formatBytes);
    takeFormat(format, stream);
    ByteReader spread(object + FormatAt + formatBytes, bytes - FormatAt - formatBytes);
    if (is(AudioSpread, object + 40))
        takeSpread(spread, stream);
}

/// @return false for what tells that the file is encrypted
bool takeObject(const std::uint8_t* object, std::size_t bytes, unsigned int audioStream,
                AsfHeader& header)
{
    if (is(ContentEncryption, object) || is(ExtendedEncryption, object))
        return false;
    if (is(FileProperties, object) && bytes >= FilePropertiesBytes)
        takeFile(object, header);
    if (is(StreamProperties, object) && bytes >= FormatAt + FormatBytes &&
        is(AudioMedia, object + ObjectHead) && header.audioStreams++ == audioStream)
        takeStream(object, bytes, header.stream);
    return true;
}

bool takeObjects(std::vector<std::uint8_t> const& bytes, unsigned int audioStream,
                 AsfHeader& header)
{
    std::size_t at = HeaderHead;
    while (bytes.size() - at >= ObjectHead) {
        const std::uint8_t* const object = bytes.data() + at;
        std::uint64_t const size = littleEndian(object + 16, 8);
        if (size < ObjectHead || size > bytes.size() - at)
            break;
        if (!takeObject(object, static_cast<std::size_t>(size), audioStream, header))
            return false;
        at += static_cast<std::size_t>(size);
    }
    return audioStream < header.audioStreams && !header.stream.isEncrypted;
}

} // namespace

std::optional<AsfHeader> readAsfHeader(AsfRead const& read, unsigned int audioStream)
{
    AsfHeader header;
    std::vector<std::uint8_t> bytes;
    if (!append(bytes, read, HeaderHead) || !is(HeaderObject, bytes.data()))
        return {};
    std::uint64_t const size = littleEndian(bytes.data() + 16, 8);
    if (size < HeaderHead || size > MostAsfHeaderBytes || !append(bytes, read, size - HeaderHead) ||
        !takeObjects(bytes, audioStream, header))
        return {};
    std::array<std::uint8_t, DataHead> data;
    if (header.packetBytes == 0 || header.packetBytes > MostAsfPacketBytes ||
        !read(data.data(), data.size()) || !is(DataObject, data.data()))
        return {};
    header.dataAt = size + DataHead;
    header.packets = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(littleEndian(data.data() + 40, 8), UINT32_MAX));
    if (header.isBroadcast || header.packets == 0)
        header.duration = 0;
    return header;
}

}} // namespace avr::host
