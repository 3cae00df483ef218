#pragma once

namespace avr { namespace host {

/// What a stream may offer to the read-ahead buffer above it.
class BelowBuffer {
public:
    virtual ~BelowBuffer() = default;

    /// Makes a Read in progress, or else the next one, return -10103 soon: somebody waits to
    /// position the stream. Any thread.
    virtual void interruptRead() = 0;
    /// The decoder has got all bytes in front of this one. Must not block.
    virtual void taken(long long position) = 0;
};

}} // namespace avr::host
