#pragma once

#include "AsfHeader.h"

#include <algorithm>

namespace avr { namespace host {

/// A part of a coded block, as it lies in a packet.
struct AsfPayload {
    std::uint32_t block;      ///< its number
    std::uint32_t offset;     ///< in the block
    std::uint32_t blockBytes; ///< 0 when it is not told
    std::uint32_t time;       ///< ms, with the preroll
    const std::uint8_t* data;
    std::size_t bytes;
};

/// Takes a packet apart.
/// @param payloads  receives those of a stream, up to where the packet is broken
void parseAsfPacket(const std::uint8_t* packet, std::size_t bytes, std::uint8_t stream,
                    std::vector<AsfPayload>& payloads);

constexpr std::uint32_t MostAsfBlockBytes = 1u << 20;

/// Puts the coded blocks of a stream together. It reads packet by packet, never ahead, and nothing
/// behind the last one. A block that is broken or not complete is left out.
class AsfPackets {
public:
    /// Goes to a byte. @return false when that fails; nothing has moved then
    using Seek = std::function<bool(std::uint64_t position)>;

    /// The input stands at the first packet.
    AsfPackets(AsfHeader header, AsfRead read, Seek seek);

    static constexpr std::size_t PaddingBytes = 64;

    enum class Result {
        Block,
        Nothing, ///< there was no end of a block in many packets; go on
        End      ///< of the packets, or a read failed: until it is moved
    };
    Result next();

    /// The block, until the next call, and its time in ms. PaddingBytes of anything may be read
    /// behind it.
    const std::uint8_t* block() const { return m_complete; }
    std::size_t blockBytes() const { return m_blockBytes; }
    std::uint32_t time() const { return m_time - std::min(m_time, m_header.preroll); }

    /// Goes to the packet that a time falls on.
    /// @param milliseconds  at most the duration, which is not 0
    /// @return the packet's time; none when the input could not be moved: then all is as before
    std::optional<std::uint32_t> moveTo(std::uint32_t milliseconds);

    AsfHeader const& header() const { return m_header; }

private:
    bool readPacket();
    bool take(AsfPayload const& payload);
    void putInOrder();

    AsfHeader const m_header;
    AsfRead const m_read;
    Seek const m_seek;
    std::uint32_t m_packet = 0; ///< the next one
    bool m_failed = false;
    std::vector<std::uint8_t> m_bytes; ///< of the packet
    std::vector<AsfPayload> m_payloads;
    std::size_t m_payload = 0;         ///< the next one
    std::vector<std::uint8_t> m_block; ///< as far as it is put together
    const std::uint8_t* m_complete = nullptr;
    std::uint32_t m_blockNumber = 0;
    std::uint32_t m_blockBytes = 0; ///< when it is complete
    std::uint32_t m_time = 0;
};

}} // namespace avr::host
