#pragma once

#include "Samples.h"

#include <algorithm>

namespace avr { namespace test {

/// A chunk of an MMS stream over HTTP.
inline Bytes mmshChunk(char kind, Bytes const& body)
{
    Bytes bytes = {'$', static_cast<std::uint8_t>(kind)};
    append(bytes, static_cast<std::uint32_t>(body.size()), 2);
    append(bytes, body);
    return bytes;
}

/// A chunk of kind H, D or M.
inline Bytes mmshChunk(char kind, std::uint32_t number, std::uint8_t flags, Bytes const& body)
{
    Bytes bytes;
    append(bytes, number, 4);
    append(bytes, static_cast<std::uint32_t>(flags) << 8, 2);
    append(bytes, static_cast<std::uint32_t>(body.size() + 8), 2);
    append(bytes, body);
    return mmshChunk(kind, bytes);
}

/// A chunk of kind E or C.
inline Bytes mmshNotice(char kind, std::uint32_t reason)
{
    Bytes bytes;
    append(bytes, reason, 4);
    return mmshChunk(kind, bytes);
}

/// The header of an ASF file, cut into parts.
inline std::vector<Bytes> mmshHeader(Bytes const& header, std::size_t part = 65527)
{
    std::vector<Bytes> chunks;
    for (std::size_t at = 0; at < header.size(); at += part) {
        std::size_t const end = std::min(at + part, header.size());
        auto const flags =
            static_cast<std::uint8_t>((at == 0 ? 4 : 0) + (end == header.size() ? 8 : 0));
        Bytes const bytes(header.begin() + long(at), header.begin() + long(end));
        chunks.push_back(mmshChunk('H', static_cast<std::uint32_t>(at / part), flags, bytes));
    }
    return chunks;
}

/// A data packet without its padding. It says that it has none; only what tells how long it is
/// stays.
inline Bytes mmshPacket(Bytes packet)
{
    constexpr std::size_t Lengths[] = {0, 1, 2, 4};
    std::size_t const at = packet[0] & 0x80 ? 1 + (packet[0] & 0x0Fu) : 0;
    unsigned int const flags = packet[at];
    auto const field = packet.begin() + long(at + 2);
    auto const number = [](Bytes::iterator from, std::size_t bytes) {
        std::size_t value = 0;
        while (bytes-- != 0)
            value = value << 8 | from[long(bytes)];
        return value;
    };
    std::size_t const told = Lengths[flags >> 5 & 3], padding = Lengths[flags >> 3 & 3];
    auto const paddingAt = field + long(told + Lengths[flags >> 1 & 3]);
    std::size_t const bytes =
        told != 0 ? number(field, told) : packet.size() - number(paddingAt, padding);
    if (told == 0)
        std::fill_n(paddingAt, padding, std::uint8_t(0));
    packet.resize(bytes);
    return packet;
}

/// An ASF file as a server sends it: chunks of its header, of its packets, and the end.
/// @param part  most bytes of the header in a chunk
inline std::vector<Bytes> mmshChunks(Bytes const& asf, std::size_t part = 65527)
{
    constexpr std::uint8_t FileProperties[] = {0xA1, 0xDC, 0xAB, 0x8C, 0x47, 0xA9, 0xCF, 0x11};
    auto const number = [&](std::size_t at) { return asf[at] | std::size_t(asf[at + 1]) << 8; };
    auto const file =
        std::search(asf.begin(), asf.end(), std::begin(FileProperties), std::end(FileProperties)) -
        asf.begin();
    std::size_t const header = number(16) + 50, packet = number(std::size_t(file) + 96);
    std::vector<Bytes> chunks = mmshHeader({asf.begin(), asf.begin() + long(header)}, part);
    std::uint32_t count = 0;
    for (std::size_t at = header; at + packet <= asf.size(); at += packet) {
        Bytes const bytes(asf.begin() + long(at), asf.begin() + long(at + packet));
        chunks.push_back(mmshChunk('D', count++, 0, mmshPacket(bytes)));
    }
    chunks.push_back(mmshNotice('E', 0));
    return chunks;
}

inline Bytes mmshBody(std::vector<Bytes> const& chunks)
{
    Bytes body;
    for (Bytes const& chunk : chunks)
        append(body, chunk);
    return body;
}

}} // namespace avr::test
