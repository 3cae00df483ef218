#pragma once

#include "decoder/Export.h"

/// @file
/// The reader of ASF files, from which the WMA codecs take their input. On a device it is the
/// maker's own library. The decoder library only passes these functions on to the codecs, which
/// call them; so what they hand to each other is theirs to say, but for the functions' types.
///
/// The scratch area belongs to the caller, zeroed before ASF_parseAsfHeader; there is no call that
/// ends its use. The calls for one scratch come from one thread at a time.
extern "C" {

constexpr unsigned int ASF_ScratchBytes = 780; ///< of the scratch area

/// fread's shape, but it returns bytes: all that was asked for, or 0.
typedef int (*ASF_ReadFunction)(void* destination, unsigned short elementSize,
                                unsigned short elementCount, void* context);
/// fseek's shape. @return 0; another value when it could not move, as far as it can tell
typedef int (*ASF_SeekFunction)(void* context, int offset, int whence);

/// Where the reader gets its input.
struct __wma_parser_params_common {
    void* context;         ///< goes to both
    ASF_ReadFunction read; ///< the next bytes
    ASF_SeekFunction seek; ///< moves on or back
};

/// An audio stream, as the file's header has it.
struct __wma_parser_stream_params {
    unsigned short formatTag;       ///< 0x160, 0x161: WMA; 0x163: lossless
    unsigned short channels;        ///< count
    unsigned int samplingRate;      ///< Hz
    unsigned int bytesPerSecond;    ///< of the coded stream
    unsigned short blockAlign;      ///< bytes of a coded block
    unsigned short bitsPerSample;   ///< bits
    unsigned int duration;          ///< ms; 0 when the file can not be positioned
    unsigned short audioStreams;    ///< in the file
    unsigned short extraBytes;      ///< of extraData
    const unsigned char* extraData; ///< the codec's own; stays valid while the scratch is used
};

/// Results below this are the reader's, not the codec's.
constexpr int ASF_ParserErrors = -256;
/// A result: there is no more data.
constexpr int ASF_NoMoreData = 5;

/// Reads the header, from where the input stands.
/// @param audioStream  which of the audio streams is wanted, from 0
/// @param reserved     0
/// @param stream       receives what the header says of it
/// @return 0; below ASF_ParserErrors when this is no ASF file or has no such stream
AVR_API short ASF_parseAsfHeader(short audioStream, short reserved, void* scratch,
                                 __wma_parser_params_common* input,
                                 __wma_parser_stream_params* stream);

/// What may be read behind a block; the bytes mean nothing.
constexpr unsigned int ASF_PaddingBytes = 64;

/// What a piece of input is of its block.
enum ASF_Piece : short { ASF_BlockBegins = 1, ASF_BlockEnds = 2 };

/// Reads the next piece of the stream's next coded block. A block that is broken is left out.
/// @param data   receives where the piece is; valid until the next call. ASF_PaddingBytes may be
///               read behind a block's last one
/// @param bytes  receives its size; 0 when there is none yet: much was broken, go on
/// @param time   receives the block's time in ms (an unsigned int); may be null
/// @param piece  receives ASF_BlockBegins, ASF_BlockEnds, both, or 0
/// @return 0; ASF_NoMoreData at the end of the data, or when a read failed
AVR_API int ASF_fileGetInput(void* scratch, unsigned short** data, short* bytes, void* time,
                             short* piece);

/// Goes to the packet that a time falls on; the next piece begins a block there.
/// @param reached  receives the time of that packet, ms; may be null
/// @return 0; ASF_NoMoreData beyond the duration; negative when the file tells no duration or no
///         number of packets, or the input cannot be moved
AVR_API int ASF_seek(void* scratch, unsigned int milliseconds, unsigned int* reached);

} // extern "C"
