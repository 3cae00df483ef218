#pragma once

#include "decoder/Export.h"

#include <cstdint>

/// @file
/// The MP3 codec: MPEG-1, 2 and 2.5 Layer III. On a device it is the maker's own library.
///
/// The caller owns every area; none has to be initialised before VMP3_init, and there is no call
/// that ends their use: the codec keeps nothing of its own in them that would have to be released.
/// The calls for one data object come from one thread at a time; different objects are independent.
/// The host has room for 64 of them: then the one that was not used for the longest goes.
extern "C" {

constexpr unsigned int VMP3_InputBytes = 2048;     ///< of the input buffer
constexpr unsigned int VMP3_InstanceBytes = 10496; ///< of the instance area
constexpr unsigned int VMP3_WorkBytes = 2304;      ///< of the work area
constexpr unsigned int VMP3_PcmBytes = 6912;       ///< of the PCM area

/// fread's shape, but it returns bytes. Any count other than the one asked for is the end of the
/// input, or its failure. It may be called within VMP3_fetchFrame only.
typedef unsigned int (*VMP3_ReadFunction)(void* destination, unsigned int elementSize,
                                          unsigned int count, void* context);

/// Where the codec gets its input; stays valid as long as the data object is used.
struct VMP3_InputDescriptor {
    unsigned char* buffer;    ///< for the codec's use, VMP3_InputBytes
    std::uint16_t bufferSize; ///< VMP3_InputBytes
    void* context;            ///< goes to `read`
    VMP3_ReadFunction read;   ///< the next bytes
};

/// Of the stream.
struct VMP3_StreamInfo {
    std::uint32_t samplingRate; ///< Hz
    std::uint16_t channels;     ///< 1 or 2
    std::uint32_t bitRate; ///< bits per second; of the whole stream where an info frame tells it,
                           ///< else of the first frame
};

/// Bytes of a data object.
AVR_API unsigned int VMP3_getDataObjSize(void);

/// Begins a stream. @return 0
AVR_API int VMP3_init(void* instance, VMP3_InputDescriptor* descriptor, void* dataObject);

/// Reads the next frame. Skips what is none: bytes in which there is no frame one by one, tags by
/// their size. Once there was a frame, a tag is skipped in slices: each ends the call with 1, so
/// that one call reads no more than some 100 KiB of it.
/// After a failed read the next call looks for a frame anew, wherever the input goes on.
/// @return 0, or 1 after a slice of a tag; other values: the input has ended, or there is no
///         frame in reach
AVR_API int VMP3_fetchFrame(void* dataObject);

/// Decodes the next part of the fetched frame.
/// @param pcm        receives interleaved samples of 32 bits, as many channels as the stream began
///                   with, at most VMP3_PcmBytes
/// @param samples    receives the samples per channel; 0 when there is nothing to decode
/// @param needFetch  receives 1 when the next frame has to be fetched, else 0
/// @return 0; another value when the frame cannot be decoded
AVR_API int VMP3_decode(void* work, void* instance, void* pcm, int* samples, int* needFetch,
                        void* dataObject);

/// Describes the stream; after a decode that gave samples.
AVR_API void VMP3_getInfo(VMP3_StreamInfo* info, void* dataObject);

} // extern "C"
