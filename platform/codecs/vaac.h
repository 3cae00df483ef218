#pragma once

#include "decoder/Export.h"

#include <cstdint>

/// @file
/// The AAC codec (LC; of HE streams the LC core). On a device it is the maker's own library.
///
/// The caller owns every area; none has to be initialised before VAAC_init, and there is no call
/// that ends their use. The calls for one instance come from one thread at a time. An instance that
/// was never begun takes no input and gives fatal errors. The host has room for 64 of them: then
/// the one that was not used for the longest goes.
extern "C" {

constexpr unsigned int VAAC_InstanceBytes = 4096; ///< of the instance area
constexpr unsigned int VAAC_WorkBytes = 4096;     ///< of the work area
constexpr unsigned int VAAC_FrameSamples = 1024;  ///< of a channel
constexpr unsigned int VAAC_Planes = 2;           ///< of VAAC_FrameSamples 16-bit samples each

/// What VAAC_init's fileType says of the input.
enum VAAC_FileType : int { VAAC_Adif = 0, VAAC_Adts = 1, VAAC_Mp4 = 2 };
/// VAAC_decode's error after which the stream cannot go on.
constexpr int VAAC_FatalError = 2;

/// What the input does not say.
struct VAAC_Config {
    void (*randState)(int* state); ///< seeds the noise that a stream may ask for; may be null
    std::uint32_t samplingRate;    ///< Hz; of an MP4 track, else ignored
    std::uint32_t channels;        ///< the same
};

/// Of the last frame.
struct VAAC_StreamInfo {
    std::uint32_t samplingRate; ///< Hz
    std::uint32_t channels;     ///< of the stream; the planes have at most two of them
    std::uint32_t samples;      ///< of a channel; 0 when the frame gave none
};

/// Begins a stream, or begins it anew after an error: the input's type and config stay.
/// @return 0; another value on failure
AVR_API int VAAC_init(const VAAC_Config* config, int fileType, void* instance);

/// Where the next input goes.
/// @param words      receives its capacity in words of 16 bits
/// @param needInput  receives 1 when the codec wants input, else 0
/// @return the input buffer; it belongs to the codec; null, and no capacity, without one
AVR_API void* VAAC_getInputinfo(unsigned int* words, int* needInput, void* instance);

/// So many bytes were put into the input buffer. ADTS: a frame with its header; MP4: a sample.
/// @return 0 when there are none: the input has ended
AVR_API int VAAC_notifyDecoder(int bytes, void* instance);

/// Decodes a frame.
/// @param pcm  receives VAAC_Planes planes
/// @return 0; an error, VAAC_FatalError or another
AVR_API int VAAC_decode(void* instance, std::int16_t* pcm, void* work);

/// Describes the last frame.
AVR_API void VAAC_getInfo(void* instance, VAAC_StreamInfo* info);

} // extern "C"
