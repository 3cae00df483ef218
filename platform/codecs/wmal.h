#pragma once

#include "platform/codecs/wma.h"

/// @file
/// The codec of WMA Lossless. On a device it is the maker's own library. Ownership and threads are
/// as in wma.h.
extern "C" {

constexpr unsigned int WMAL_StateBytes = 88776; ///< of the state
constexpr unsigned int WMAL_WorkBytes = 262144; ///< of the work area

/// What WMAL_init finds.
struct __wmal_info {
    std::int16_t channels;        ///< in the file
    std::int16_t unused1;         ///< not set
    std::uint32_t samplingRate;   ///< Hz
    std::uint32_t duration;       ///< ms; 0 = unknown
    std::uint32_t bitRate;        ///< bits per second
    std::uint16_t bitsPerSample;  ///< bits
    std::uint16_t unused2;        ///< not set
    std::uint16_t unused3;        ///< not set
    std::uint16_t outputBitDepth; ///< *bytes* of an output sample: 2, or 3 (packed)
    std::uint16_t dstChannel;     ///< channels of the output
};
static_assert(offsetof(__wmal_info, samplingRate) == 4 &&
                  offsetof(__wmal_info, bitsPerSample) == 16 &&
                  offsetof(__wmal_info, outputBitDepth) == 22 &&
                  offsetof(__wmal_info, dstChannel) == 24,
              "as the codec has it");

/// What it works with. All of it stays valid as long as the state is used.
struct __wmal_params {
    std::uint32_t unused1;            ///< 0
    std::uint32_t unused2;            ///< 0
    std::int16_t flag1;               ///< 1
    std::int16_t flag2;               ///< 1
    __wmal_info* info;                ///< filled by WMAL_init
    int* work;                        ///< WMAL_WorkBytes
    void* context;                    ///< goes to read and seek
    ASF_ReadFunction read;            ///< the next bytes of the file
    ASF_SeekFunction seek;            ///< moves in the file
    WMA_ParseFunction parseAsfHeader; ///< ASF_parseAsfHeader
    WMA_InputFunction fileGetInput;   ///< ASF_fileGetInput
    WMA_PositionFunction asfSeek;     ///< ASF_seek
    void* parserScratch;              ///< ASF_ScratchBytes
};
static_assert(sizeof(void*) != 4 ||
                  (sizeof(__wmal_params) == 48 && offsetof(__wmal_params, info) == 12 &&
                   offsetof(__wmal_params, context) == 20 &&
                   offsetof(__wmal_params, parserScratch) == 44),
              "as the codec has it");

/// Reads the file's header and begins to decode it.
/// @return 0 and the info; below ASF_ParserErrors when the file cannot be read; another value when
///         there is no lossless stream of 16 or 24 bits and at most two channels in it
AVR_API int WMAL_init(void* state, __wmal_params* params);

/// Decodes the next frame.
/// @param available  receives the samples per channel that WMAL_getPCM can fetch; 0 after input
///                   that gave none
/// @return 0; ASF_NoMoreData at the end, or when a read failed; -255 to -129: the input was
///         damaged, decoding may go on after WMAL_reset; any other negative value: it cannot
AVR_API int WMAL_decode(void* state, unsigned int* available);

/// Fetches samples of the frame.
/// @param pcm    receives count x dstChannel samples of outputBitDepth bytes, interleaved
/// @param count  samples per channel
/// @return how many there were; negative on an error
AVR_API short WMAL_getPCM(void* state, void* pcm, short count);

/// As WMA_seek.
AVR_API int WMAL_seek(void* state, unsigned int milliseconds, unsigned int* reached);

/// As WMA_reset.
AVR_API int WMAL_reset(void* state);

} // extern "C"
