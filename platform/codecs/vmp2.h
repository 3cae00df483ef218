#pragma once

#include "decoder/Export.h"

#include <cstdint>

/// @file
/// The splitter of ADTS streams. On a device it is the maker's own library. The calls for one state
/// come from one thread at a time.
extern "C" {

constexpr unsigned int VMP2_StateBytes = 256;  ///< of the state
constexpr unsigned int VMP2_FrameBytes = 4616; ///< of the frame buffer; longer frames are skipped

/// fread's shape, but it returns bytes: all that was asked for, or 0 at the end.
typedef unsigned int (*VMP2_ReadFunction)(void* destination, unsigned int elementSize,
                                          unsigned int count, void* context);
/// fseek's shape; the host does not seek. @return 0, or -1
typedef int (*VMP2_SeekFunction)(void* context, long offset, int origin);

/// Where the splitter gets its input.
struct VMP2_Config {
    VMP2_ReadFunction read;        ///< the next bytes
    VMP2_SeekFunction seek;        ///< moves on or back
    void* context;                 ///< goes to both
    unsigned char* frameBuffer;    ///< for the splitter's use; the host needs none
    unsigned int frameBufferBytes; ///< VMP2_FrameBytes
};

/// Begins a stream. The state belongs to the caller and need not be initialised.
/// @return 0; another value on failure
AVR_API int VMP2_open(const VMP2_Config* config, void* state);

/// Reads the next frame with its header.
/// @param capacity  bytes
/// @return its size; 0 at the end; negative when 262144 bytes bring no frame, ID3v2 tags
///         not counted
AVR_API int VMP2_getFrame(void* buffer, unsigned int capacity, void* state);

} // extern "C"
