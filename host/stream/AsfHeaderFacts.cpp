#include "AsfHeaderFacts.h"

#include "AsfGuids.h"
#include "LittleEndian.h"

namespace avr { namespace host {

namespace {

/// Shows each object of a kind that has so many bytes at least.
template <class Take>
void forEach(std::vector<std::uint8_t> const& header, asf::Guid const& kind, std::size_t least,
             Take const& take)
{
    for (std::size_t at = asf::HeaderHead;
         at < header.size() && header.size() - at >= asf::ObjectHead;) {
        const std::uint8_t* const object = header.data() + at;
        std::uint64_t const bytes = littleEndian(object + 16, 8);
        if (bytes < asf::ObjectHead || bytes > header.size() - at)
            break;
        if (bytes >= least && asf::is(kind, object))
            take(object);
        at += static_cast<std::size_t>(bytes);
    }
}

} // namespace

std::uint32_t asfPacketBytes(std::vector<std::uint8_t> const& header)
{
    constexpr std::size_t MostPacketBytesAt = 96; // the least are as many
    std::uint32_t packetBytes = 0;
    forEach(header, asf::FileProperties, asf::FilePropertiesBytes,
            [&packetBytes](const std::uint8_t* object) {
                if (packetBytes == 0)
                    packetBytes =
                        static_cast<std::uint32_t>(littleEndian(object + MostPacketBytesAt, 4));
            });
    return packetBytes;
}

std::vector<AsfStreamNumber> asfStreams(std::vector<std::uint8_t> const& header)
{
    constexpr std::size_t Bytes = 78, TypeAt = asf::ObjectHead, NumberAt = 72;
    std::vector<AsfStreamNumber> streams;
    forEach(header, asf::StreamProperties, Bytes, [&streams](const std::uint8_t* object) {
        streams.push_back({object[NumberAt] & 0x7Fu, asf::is(asf::AudioMedia, object + TypeAt)});
    });
    return streams;
}

}} // namespace avr::host
