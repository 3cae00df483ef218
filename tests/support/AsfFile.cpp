#include "AsfFile.h"

#include "Bits.h"

#include <algorithm>

namespace avr { namespace test {

namespace {

Bytes asfObject(const char* guid, Bytes const& body)
{
    Bytes object(guid, guid + 16);
    append(object, std::uint32_t(body.size() + 24), 4);
    append(object, 0, 4);
    append(object, body);
    return object;
}

void append64(Bytes& to, std::uint64_t value)
{
    append(to, std::uint32_t(value), 4);
    append(to, std::uint32_t(value >> 32), 4);
}

} // namespace

Bytes AsfFile::header(std::size_t packets) const
{
    Bytes file(32), properties;
    for (std::uint64_t field : {std::uint64_t(packets), (duration + std::uint64_t(preroll)) * 10000,
                                std::uint64_t(0), std::uint64_t(preroll)})
        append64(file, field);
    for (std::uint32_t field : {std::uint32_t(isBroadcast), packetBytes, packetBytes, 0u})
        append(file, field, 4);

    append(properties, "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD");
    append(properties, Bytes{0x00, 0x80, 0x5F, 0x5C, 0x44, 0x2B});
    append(properties, "\x50\xCD\xC3\xBF\x8F\x61\xCF\x11\x8B\xB2");
    append(properties, Bytes{0x00, 0xAA, 0x00, 0xB4, 0xE2, 0x20, 0, 0, 0, 0, 0, 0, 0, 0});
    for (std::size_t field : {18 + extra.size(), spread.size()})
        append(properties, std::uint32_t(field), 4);
    append(properties, stream, 2);
    append(properties, 0, 4);
    for (std::uint32_t field : {std::uint32_t(channels) << 16 | tag, rate, bytesPerSecond,
                                std::uint32_t(bits) << 16 | blockAlign})
        append(properties, field, 4);
    append(properties, std::uint32_t(extra.size()), 2);
    append(properties, extra);
    append(properties, spread);

    Bytes objects(6), data(16);
    append(objects,
           asfObject("\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65", file));
    append(objects, asfObject("of another kind.", noise(99)));
    append(objects, asfObject("\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65",
                              properties));
    append64(data, packets);
    append(data, 0, 2);
    Bytes all =
        asfObject("\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C", objects);
    append(all,
           asfObject("\x36\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C", data));
    return all;
}

/// Writes as much of a block as fits.
void AsfFile::fragment(Bytes& packet, Place& at, bool hasLength) const
{
    Bytes const& block = blocks[at.block];
    std::size_t const room = packetBytes - packet.size() - (hasLength ? 17 : 15);
    std::size_t const bytes = std::min(room, block.size() - at.offset);
    append(packet, (stream & 0x7Fu) | 0x80 | std::uint32_t(at.block & 0xFF) << 8, 2);
    append(packet, std::uint32_t(at.offset), 4);
    append(packet, 8, 1);
    append(packet, std::uint32_t(block.size()), 4);
    append(packet, time(at), 4);
    append(packet, std::uint32_t(bytes), hasLength ? 2 : 0);
    append(packet, Bytes(block.begin() + long(at.offset), block.begin() + long(at.offset + bytes)));
    at.offset += bytes;
    if (at.offset == block.size())
        at = {at.block + 1, 0};
}

Bytes AsfFile::several(Place& at) const
{
    Bytes packet = {0x82, 0, 0, 0x11, 0x5D};
    packet.resize(5 + 2 + 4 + 2); // padding, time, duration
    Bytes foreign = {0x81, 0x02, 0, 0, 0, 0, 0, 8, 4, 0, 0, 0, 1, 2, 3, 4, 4, 0, 9, 9, 9, 9};
    append(packet, foreign);
    std::uint8_t count = 0x81;
    for (; at.block < blocks.size() && packet.size() + 17 < packetBytes && count < 0xBF; ++count)
        fragment(packet, at, true);
    packet[13] = count;
    std::size_t const padding = packetBytes - packet.size();
    packet[5] = std::uint8_t(padding);
    packet[6] = std::uint8_t(padding >> 8);
    packet.resize(packetBytes, 0xEE);
    return packet;
}

Bytes AsfFile::single(Place& at) const
{
    Bytes packet = {0x42, 0x5D, 0, 0, 7}; // a sequence number
    packet.resize(5 + 4 + 2);
    fragment(packet, at, false);
    packet[2] = std::uint8_t(packet.size());
    packet[3] = std::uint8_t(packet.size() >> 8);
    packet.resize(packetBytes, 0xEE);
    return packet;
}

Bytes AsfFile::small(Place& at) const
{
    Bytes packet = {0x10, 0x5D};
    packet.resize(2 + 2 + 4 + 2);
    append(packet, (stream & 0x7Fu) | 0x80 | std::uint32_t(at.block & 0xFF) << 8, 2);
    append(packet, time(at), 4);
    append(packet, 1 | 46 << 8, 2);
    for (; at.block < blocks.size(); ++at.block) {
        Bytes const& block = blocks[at.block];
        if (packet.size() + 1 + block.size() > packetBytes)
            break;
        append(packet, std::uint32_t(block.size()), 1);
        append(packet, block);
    }
    std::size_t const padding = packetBytes - packet.size();
    packet[2] = std::uint8_t(padding);
    packet[3] = std::uint8_t(padding >> 8);
    packet.resize(packetBytes, 0xEE);
    return packet;
}

std::vector<Bytes> AsfFile::packets() const
{
    std::vector<Bytes> all;
    for (Place at; at.block < blocks.size();)
        all.push_back(layout == Layout::Several  ? several(at)
                      : layout == Layout::Single ? single(at)
                                                 : small(at));
    return all;
}

AsfFile losslessFile(Bytes const& pcm, std::uint16_t channels, std::uint16_t bits,
                     std::uint32_t rate)
{
    unsigned int const log = rate <= 16000 ? 9 : rate <= 22050 ? 10 : rate <= 48000 ? 11 : 12;
    std::size_t const word = bits / 8, frame = word * channels, most = std::size_t(1) << log;
    AsfFile file;
    file.tag = 0x163;
    file.channels = channels;
    file.bits = bits;
    file.rate = rate;
    file.bytesPerSecond = std::uint32_t(rate * frame);
    file.blockAlign = std::uint16_t(most * frame + 16);
    file.duration = std::uint32_t(pcm.size() / frame * 1000 / rate);
    append(file.extra, bits, 2);
    append(file.extra, channels == 2 ? 3 : 4, 4);
    file.extra.resize(18);
    unsigned int sizeBits = 4;
    for (unsigned int size = file.blockAlign; size > 1; size >>= 1)
        ++sizeBits;
    for (std::size_t at = 0; at < pcm.size(); at += most * frame) {
        std::size_t const samples = std::min(most, (pcm.size() - at) / frame);
        host::BitWriter block;
        block.put(std::uint32_t(file.blocks.size() % 16), 4);
        block.put(2, 2); // can be sought, is not spliced
        block.put(0, sizeBits);
        block.put(1, 1); // the tile is aligned
        block.put(samples == most ? 0 : 5, samples == most ? 1 : 3);
        block.put(std::uint32_t(most - samples), samples == most ? 0 : log + 1);
        block.put(2, 3); // as it is
        for (unsigned int channel = 0; channel < channels; ++channel)
            for (std::size_t i = 0; i < most; ++i)
                for (std::size_t byte = word; byte-- != 0;)
                    block.put(i < samples ? pcm[at + i * frame + channel * word + byte] : 0, 8);
        file.blocks.push_back(block.bytes());
        file.blocks.back().resize(file.blockAlign);
    }
    return file;
}

}} // namespace avr::test
