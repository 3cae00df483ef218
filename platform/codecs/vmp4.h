#pragma once

#include "decoder/Export.h"

#include <cstdint>

/// @file
/// The demultiplexer of MP4 files. On a device it is the maker's own library. The calls for one
/// state come from one thread at a time.
extern "C" {

constexpr unsigned int VMP4_StateBytes = 256; ///< of the state

/// fread's shape, but it returns bytes: all that was asked for, or 0 at the end.
typedef unsigned int (*VMP4_ReadFunction)(void* destination, unsigned int elementSize,
                                          unsigned int count, void* context);
/// fseek's shape, from the beginning; where `long` has 32 bits, not behind 2 GiB. @return 0, or -1
typedef int (*VMP4_SeekFunction)(void* context, long offset, int origin);

/// Where the demultiplexer gets its input.
struct VMP4_Config {
    VMP4_ReadFunction read; ///< the next bytes
    VMP4_SeekFunction seek; ///< moves on or back
    void* context;          ///< goes to both
};

/// What VMP4_open found of the audio track; zeros when there is none.
struct VMP4_Info {
    std::uint64_t duration;     ///< in units of the time scale
    std::uint32_t timescale;    ///< units per second
    std::uint32_t bitRate;      ///< bits per second, 0 = unknown
    std::uint32_t samplingRate; ///< Hz, of the AAC core
    std::uint32_t channels;     ///< as the track's configuration has it
};

/// Reads the head of a file, from byte 0. The state belongs to the caller, need not be initialised,
/// and is released by VMP4_close.
/// @return 0; another value when this is no MP4 file or its head cannot be read
AVR_API int VMP4_open(const VMP4_Config* config, VMP4_Info* info, void* state);

/// @return the first AAC track; negative when there is none
AVR_API std::int16_t VMP4_getAudioTrack(void* state);

/// Reads a sample of a track.
/// @param index     from 0
/// @param capacity  bytes
/// @return its size; 0 behind the last one, and when it cannot be read; negative for a bad track,
///         and for a state that is not open. An empty sample and one above the capacity give one
///         byte that no decoder takes
AVR_API int VMP4_getFrame(void* buffer, int track, unsigned int index, unsigned int capacity,
                          void* state);

/// Releases what VMP4_open made. Nothing for a state that is not open.
AVR_API void VMP4_close(void* state);

} // extern "C"
