#pragma once

#include "BelowBuffer.h"
#include "platform/IReadableStream.h"

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <chrono>
#include <string>

namespace avr { namespace host {

/// A stream whose first bytes can be looked at before a decoder opens it, once: so the decoder for
/// a stream that cannot go back can be chosen by its content.
class AVR_API HeadStream final : public Avr::Interface::IReadableStream, public BelowBuffer {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    explicit HeadStream(StreamPtr stream);

    /// Opens the stream; the decoder's Open goes on with it. Close ends a wait in here, too.
    /// @return negative on failure
    int openEarly();
    /// The first bytes, fewer where the stream ends before, or where they do not come in time.
    /// Between openEarly and the decoder's Open.
    /// @param patience  begins no read later than this
    std::string const& head(std::size_t bytes, std::chrono::milliseconds patience);
    /// There was no time for all of the head.
    bool isLate() const { return m_isLate; }

    int IsOpened() override;
    int Open() override;
    void Close() override;
    int Read(void* buf, unsigned int len, unsigned int* got) override;
    int GetCapabilities() override;
    int SeekByte(long long offset) override;
    int SeekTime(double seconds) override;
    int GetStreamProperty(int key, std::string& value) override;
    int GetErrorStatus() override;

    // BelowBuffer
    void interruptRead() override;
    void taken(long long position) override;

private:
    int movedBy(int result);

    StreamPtr const m_stream;
    BelowBuffer* const m_below;         ///< the same; null where it does not care
    std::atomic<bool> m_isEarly{false}; ///< open, and not yet the decoder's
    // With the use of the stream: one thread opens, reads and positions it at a time.
    std::string m_head;
    std::size_t m_read = 0; ///< of the head
    bool m_isLate = false;
    bool m_isBeyond = false; ///< the stream is not behind the head any more
};

}} // namespace avr::host
