#pragma once

#include "decoder/WaveFormat.h"

#include <cstddef>

namespace kiv { namespace appli {

/// What the head of a RIFF/WAVE file says. All numbers are as stored; bytes that lie behind the
/// head read as 0.
struct RiffHead {
    enum class Status {
        Found,
        NotWave, ///< no "RIFF", or its form type is not "WAVE"
        RanOver  ///< a chunk reaches beyond the head before the audio begins
    };

    Status status = Status::NotWave;
    /// Where the walk over the chunks ended, from the start of the head.
    std::uint64_t distance = 0;
    /// The first 24 bytes of the "fmt " body, whatever its size; zeros without one.
    tWAVEFORMAT format{};
    /// The first byte of audio, from the start of the head.
    std::uint32_t dataOffset = 0;
    /// The "data" chunk's size field; 0 when the walk ended right at the head's end without one.
    std::uint32_t dataSize = 0;
};

/// Reads the first bytes of a file: finds "RIFF", then walks the chunks to "data". Chunks follow
/// each other without padding, also after odd sizes.
RiffHead parseRiffHead(const std::uint8_t* head, std::size_t bytes);

}} // namespace kiv::appli
