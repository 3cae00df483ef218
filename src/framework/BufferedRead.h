#pragma once

#include "platform/BufferStream.h"

#include <atomic>
#include <functional>
#include <utility>

namespace Avr { namespace Decoder {

class DecoderImple;

/// Reading through the read-ahead buffer: the one place that reads and waits.
class BufferedRead {
public:
    using BufferStream = kiv::appli::BufferStream;
    using BufferStreamPtr = boost::shared_ptr<BufferStream>;

    /// What a read brought.
    struct Outcome {
        unsigned int bytes; ///< collected, also when it failed
        int result;         ///< 0 = all of them; GaveUp; else the stream's failure
    };
    /// The wait for data failed or took too long. Positive: no stream fails with it.
    static constexpr int GaveUp = 1;

    /// Any thread.
    BufferStreamPtr stream() const;
    /// Replaces the buffer. Decoding thread.
    void install(BufferStreamPtr const& stream);
    /// Sizes the buffer (start threshold: half of it) and starts it; nothing without one.
    void startBuffering(unsigned int size);

    /// For decoders whose seeks do not move the stream: a read ends when this says so. Before the
    /// first read; called on the decoding thread.
    void abandonWhen(std::function<bool()> overtaken) { m_overtaken = std::move(overtaken); }

    /// Reads exactly len bytes, waiting for the buffer as needed and reporting its fill as event 8.
    /// The decoder lock is held around each read of the stream and not around a wait; when a seek
    /// comes between two reads, the block is begun anew.
    /// @param name  the operation's name in the log
    Outcome fill(DecoderImple& engine, const char* name, void* buf, unsigned int len);

    /// After a failed fill, unless a seek came since (the failure was the old position's): the
    /// play loop's result, or the end mark alone.
    void interruptPlayback(DecoderImple& engine, int result) const;
    void putEofMark(DecoderImple& engine) const;

    /// Reports a fill percentage as event 8, in steps of 5.
    void bufferStatus(DecoderImple& engine, int percent);

private:
    bool isOvertaken() const { return m_overtaken && m_overtaken(); }
    int waitOnce(DecoderImple& engine, BufferStream& stream);
    bool waitForData(DecoderImple& engine, const char* name, BufferStream& stream);

    std::function<bool()> m_overtaken;
    BufferStreamPtr m_stream; ///< by atomic load and store
    std::atomic<int> m_lastStatus{0};
};

}} // namespace Avr::Decoder
