#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace avr { namespace host {

/// Reads exactly so many bytes. @return false when that fails
using AsfRead = std::function<bool(std::uint8_t* to, std::size_t bytes)>;

/// An audio stream, as the header of an ASF file has it.
struct AsfStream {
    std::uint8_t number = 0;
    bool isEncrypted = false;
    std::uint16_t formatTag = 0;
    std::uint16_t channels = 0;
    std::uint32_t samplingRate = 0;
    std::uint32_t bytesPerSecond = 0;
    std::uint16_t blockAlign = 0;
    std::uint16_t bitsPerSample = 0;
    std::vector<std::uint8_t> extra;
    /// A block consists of so many virtual packets, and these of chunks that take turns.
    std::uint8_t span = 0;
    std::uint16_t virtualPacketBytes = 0;
    std::uint16_t chunkBytes = 0;
};

struct AsfHeader {
    std::uint64_t dataAt = 0; ///< where the first packet begins
    std::uint32_t packetBytes = 0;
    std::uint32_t packets = 0;
    bool isBroadcast = false;   ///< how many packets there are is not known
    std::uint32_t duration = 0; ///< ms; 0 when the file can not be positioned
    std::uint32_t preroll = 0;  ///< ms, that every time is too late
    std::uint16_t audioStreams = 0;
    AsfStream stream; ///< the one that was asked for
};

constexpr std::uint64_t MostAsfHeaderBytes = 1u << 24; ///< pictures are in it
constexpr std::uint32_t MostAsfPacketBytes = 1u << 17;

/// Reads the header of a file, up to where the first packet begins.
/// @param audioStream  which of the audio streams is wanted, from 0
/// @return none when this is no ASF file, or there is no such stream, or it is encrypted
std::optional<AsfHeader> readAsfHeader(AsfRead const& read, unsigned int audioStream);

}} // namespace avr::host
