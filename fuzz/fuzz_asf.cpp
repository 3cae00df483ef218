// A file in ASF: header and blocks are found within bounds, and nothing is read behind the packets.
#include "AsfPackets.h"

#include <cstdlib>
#include <cstring>

using namespace avr::host;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// @return how many blocks came
std::size_t readAll(AsfPackets& packets)
{
    std::size_t blocks = 0, bytes = 0;
    for (auto result = packets.next(); result != AsfPackets::Result::End; result = packets.next())
        if (result == AsfPackets::Result::Block) {
            ++blocks;
            std::vector<std::uint8_t> const block(packets.block(),
                                                  packets.block() + packets.blockBytes());
            require(!block.empty() && block.size() <= MostAsfBlockBytes);
            bytes += block.size();
        }
    require(bytes >= blocks);
    return blocks;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::size_t at = 0;
    AsfRead const read = [&](std::uint8_t* to, std::size_t bytes) {
        if (at > size || bytes > size - at)
            return false;
        std::memcpy(to, data + at, bytes);
        at += bytes;
        return true;
    };
    auto const header = readAsfHeader(read, 0);
    if (!header)
        return 0;
    require(header->dataAt == at && header->stream.extra.size() < at);
    std::uint64_t const end = header->dataAt + std::uint64_t(header->packets) * header->packetBytes;
    AsfPackets packets(*header, read, [&](std::uint64_t position) {
        require(position >= header->dataAt && position <= end);
        if (size % 2 == 0)
            return false;
        at = std::size_t(position);
        return true;
    });
    std::size_t const blocks = readAll(packets);
    require(header->isBroadcast || at <= end);
    if (header->duration != 0 && packets.moveTo(header->duration / 2))
        require(readAll(packets) <= blocks);
    if (header->duration != 0 && packets.moveTo(0))
        require(readAll(packets) == blocks);
    return 0;
}
