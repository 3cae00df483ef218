#pragma once

#include <cstdint>
#include <vector>

namespace avr { namespace host {

/// What the host's codecs need of libavformat. It is a module like CodecModule, and loaded for the
/// first MP4 file.

/// An audio track of an MP4 file, as its head describes it.
struct Mp4Track {
    struct Sample {
        std::uint64_t position; ///< byte in the file
        std::uint32_t bytes;
    };
    std::vector<Sample> samples;
    std::uint64_t duration = 0; ///< in units of the time scale
    std::uint32_t timescale = 0;
    std::uint32_t bitRate = 0;
    std::uint32_t samplingRate = 0; ///< of the AAC core
    std::uint32_t channels = 0;
};

/// The module's entry.
struct Mp4Module {
    /// Takes the first AAC-LC track, or the LC core of an extended one.
    /// @param head  "ftyp" and "moov" with their headers, and nothing else
    /// @return false when there is no such track in it
    bool (*readHead)(std::vector<std::uint8_t> const& head, Mp4Track& track);
};

/// Loads the module at the first call. @return null when it cannot be loaded
Mp4Module const* mp4Module();

}} // namespace avr::host
