#pragma once

#include <cstddef>
#include <cstdint>

namespace kiv { namespace appli {

/// A PCM format; 24 bytes, little-endian as in memory.
struct tWAVEFORMAT {
    std::uint16_t formatTag;             ///< 1 = integer PCM, 0xFFFE = extensible
    std::uint16_t channels;              ///< count
    std::uint32_t samplesPerSecond;      ///< Hz
    std::uint32_t averageBytesPerSecond; ///< bytes
    std::uint16_t blockAlign;            ///< bytes of one frame
    std::uint16_t bitsPerSample;         ///< bits
    std::uint16_t extraSize;             ///< 0 unless a decoder or the file fills it
    std::uint16_t validBitsPerSample;    ///< 0 unless a decoder or the file fills it
    std::uint32_t channelMask;           ///< 0 unless a decoder or the file fills it
};
static_assert(sizeof(tWAVEFORMAT) == 24, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, formatTag) == 0, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, channels) == 2, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, samplesPerSecond) == 4, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, averageBytesPerSecond) == 8, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, blockAlign) == 12, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, bitsPerSample) == 14, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, extraSize) == 16, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, validBitsPerSample) == 18, "shared with the player");
static_assert(offsetof(tWAVEFORMAT, channelMask) == 20, "shared with the player");

/// A duration or a position; 8 bytes.
struct TimeSpec {
    std::uint32_t seconds;     ///< whole seconds
    std::uint32_t nanoseconds; ///< 0 to 999,999,999
};
static_assert(sizeof(TimeSpec) == 8, "shared with the player");
static_assert(offsetof(TimeSpec, nanoseconds) == 4, "shared with the player");

/// What event 2 carries; 36 bytes.
struct DecoderStreamInfo {
    tWAVEFORMAT format;    ///< the PCM that OnSample will bring; FLAC of other widths than whole
                           ///< bytes brings 4 bytes a sample, in the low bits
    std::uint32_t codecId; ///< one of CodecId
    std::uint32_t bitRate; ///< bits per second of the input; 0 = unknown
    std::uint32_t decoderWord; ///< the decoder's own; mostly the duration in milliseconds, 0 =
                               ///< unknown, and above 0x7FFFFFFF too (Ogg Vorbis)
};
static_assert(sizeof(DecoderStreamInfo) == 36, "shared with the player");
static_assert(offsetof(DecoderStreamInfo, codecId) == 24, "shared with the player");
static_assert(offsetof(DecoderStreamInfo, bitRate) == 28, "shared with the player");
static_assert(offsetof(DecoderStreamInfo, decoderWord) == 32, "shared with the player");

/// DecoderStreamInfo::codecId.
enum CodecId : std::uint32_t {
    CodecMp3 = 0x10000100,
    CodecAac = 0x10000200,
    CodecHeAac = 0x10000204,
    CodecWmaStandard = 0x10000301,
    CodecWmaLossless = 0x10000302,
    CodecOggVorbis = 0x10000400,
    CodecFlac = 0x10000500,
    CodecWave = 0x10001000,
    CodecLpcm = 0x10001100
};

}} // namespace kiv::appli
