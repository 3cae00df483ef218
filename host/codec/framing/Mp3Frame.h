#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace avr { namespace host {

constexpr std::size_t Mp3HeaderBytes = 4;
constexpr std::size_t Mp3LongestFrame = 1441; ///< 320 kbit/s at 32 kHz, padded

/// What the head of a frame of MPEG-1, 2 or 2.5 Layer III says.
struct Mp3Header {
    std::uint32_t bytes; ///< of the frame with its head; at most Mp3LongestFrame
    std::uint32_t bitRate;
    std::uint32_t samplingRate;
    std::uint32_t samples; ///< of a channel: 576 or 1152
    std::uint32_t channels;
};

/// @param head  Mp3HeaderBytes
/// @return none for anything else, free format among it: no decoder here would take such a frame
std::optional<Mp3Header> parseMp3Header(const std::uint8_t* head);

/// Two heads of the same version, layer and sampling rate.
bool sameMp3Stream(const std::uint8_t* head, const std::uint8_t* other);

/// Describes the stream in place of its first frame's audio.
struct Mp3Info {
    std::uint32_t averageBitRate; ///< 0 when it cannot be told, or is that of every frame
};
/// @param frame  header.bytes
/// @return none for a frame of audio
std::optional<Mp3Info> parseMp3Info(const std::uint8_t* frame, Mp3Header const& header);

}} // namespace avr::host
