#pragma once

#include "platform/codecs/asf.h"

#include <cstddef>
#include <cstdint>

/// @file
/// The codec of standard WMA (versions 1 and 2). On a device it is the maker's own library.
///
/// The caller owns every area and record; the state is zeroed before WMA_init, and there is no call
/// that ends its use. WMA_init and WMA_decode come from one thread at a time; WMA_seek and
/// WMA_reset from any, at any moment: they only leave a wish that the next WMA_decode fulfils.
extern "C" {

constexpr unsigned int WMA_StateBytes = 3760;     ///< of the state
constexpr unsigned int WMA_PcmBytes = 12288;      ///< of the PCM area
constexpr unsigned int WMA_WorkBytes = 16384;     ///< of work areas 1 and 3
constexpr unsigned int WMA_SmallWorkBytes = 8192; ///< of work area 2
constexpr unsigned int WMA_MostSamples = 2048;    ///< per channel, of one WMA_decode
constexpr unsigned int WMA_MostChannels = 2;      ///< of a stream

/// ASF_parseAsfHeader.
typedef short (*WMA_ParseFunction)(short, short, void*, __wma_parser_params_common*,
                                   __wma_parser_stream_params*);
/// ASF_fileGetInput.
typedef int (*WMA_InputFunction)(void*, unsigned short**, short*, void*, short*);
/// ASF_seek.
typedef int (*WMA_PositionFunction)(void*, unsigned int, unsigned int*);

/// What WMA_init finds.
struct __wma_info {
    std::uint32_t samplingRate;  ///< Hz
    std::uint16_t channels;      ///< count
    std::uint16_t unused1;       ///< not set
    std::uint32_t duration;      ///< ms; 0 = unknown
    std::uint32_t unused2;       ///< not set
    std::uint32_t bitRate;       ///< bits per second
    std::uint16_t bitsPerSample; ///< bits
    std::uint16_t audioStreams;  ///< in the file
};
static_assert(sizeof(__wma_info) == 24 && offsetof(__wma_info, bitRate) == 16 &&
                  offsetof(__wma_info, audioStreams) == 22,
              "as the codec has it");

/// What it works with. All of it stays valid as long as the state is used.
struct __wma_params {
    void* context;                    ///< goes to read and seek
    ASF_ReadFunction read;            ///< the next bytes of the file
    ASF_SeekFunction seek;            ///< moves in the file
    WMA_ParseFunction parseAsfHeader; ///< ASF_parseAsfHeader
    WMA_InputFunction fileGetInput;   ///< ASF_fileGetInput
    WMA_PositionFunction asfSeek;     ///< ASF_seek
    __wma_info* info;                 ///< filled by WMA_init
    std::int16_t flag;                ///< 1
    int* work1;                       ///< WMA_WorkBytes
    int* work2;                       ///< WMA_SmallWorkBytes
    unsigned int* work3;              ///< WMA_WorkBytes
    void* parserScratch;              ///< ASF_ScratchBytes
};
static_assert(sizeof(void*) != 4 ||
                  (sizeof(__wma_params) == 48 && offsetof(__wma_params, info) == 24 &&
                   offsetof(__wma_params, work1) == 32 &&
                   offsetof(__wma_params, parserScratch) == 44),
              "as the codec has it");

/// Reads the file's header and begins to decode it.
/// @return 0 and the info; another value when there is no stream of this codec in it, or one of
///         more than two channels
AVR_API int WMA_init(void* state, __wma_params* params);

/// Decodes the next samples.
/// @param samples  receives the samples per channel, at most WMA_MostSamples; 0 after input that
///                 gave none
/// @param pcm      receives interleaved samples of 16 bits
/// @return 0; ASF_NoMoreData at the end, or when a read failed; negative on an error
AVR_API int WMA_decode(void* state, short* samples, void* pcm);

/// Goes to a time.
/// @param reached  may be null
/// @return 0; ASF_NoMoreData beyond the duration; negative when the file cannot be positioned
AVR_API int WMA_seek(void* state, unsigned int milliseconds, unsigned int* reached);

/// Forgets what earlier blocks left for the next ones. Nothing for a state that was never begun.
/// @return 0
AVR_API int WMA_reset(void* state);

} // extern "C"
