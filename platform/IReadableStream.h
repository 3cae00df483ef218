#pragma once

#include "decoder/Export.h"
#include "decoder/Result.h"

#include <string>

namespace Avr { namespace Interface {

/// The player's input. Open, Read, SeekByte and SeekTime are called by one thread at a time; every
/// other operation may be called by any thread at any moment.
class AVR_API IReadableStream {
public:
    /// GetCapabilities' flags.
    enum Capability : int { CanSeekByte = 0x10, CanSeekTime = 0x20 };
    /// GetStreamProperty's keys.
    enum Property : int {
        ContentLength = 1, ///< bytes, decimal text; a negative result when the length is unknown
        Address = 2,       ///< path or URL; an "mms" stream's begins with "mms"
        StreamType = 3     ///< "local" or "http:inet"
    };

    virtual ~IReadableStream() = default;

    /// @return negative when the stream is not open
    virtual int IsOpened() = 0;

    /// Opens, also again after Close, and then begins at byte 0. May block; Close ends it.
    /// @return negative on failure
    virtual int Open() = 0;

    /// Makes an Open or Read in progress on another thread return. May come twice.
    virtual void Close() = 0;

    /// Reads what is there, at least one byte. May block; Close ends it.
    /// @param len  room in bytes
    /// @param got  receives the bytes read, 1 to len (0 only when len is 0)
    /// @return 0; -10103 when nothing is there yet (call again); -10101 at the end; any other
    ///         negative value when the stream failed
    virtual int Read(void* buf, unsigned int len, unsigned int* got) = 0;

    /// @return Capability flags
    virtual int GetCapabilities() = 0;

    /// Moves to a byte offset. A failed one changes nothing. @return negative on failure
    virtual int SeekByte(long long offset) = 0;
    /// Moves to a time. A failed one changes nothing. @return negative on failure
    virtual int SeekTime(double seconds) = 0;

    /// @param key  a Property
    /// @return negative, and the value as it was, when the stream does not know it
    virtual int GetStreamProperty(int key, std::string& value) = 0;

    /// Non-zero when the stream itself failed. Keeps its answer over Close; Open clears it.
    virtual int GetErrorStatus() = 0;
};

}} // namespace Avr::Interface
