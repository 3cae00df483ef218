#pragma once

#include "platform/IReadableStream.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <memory>

namespace kiv { namespace appli {

/// A read-ahead buffer over a stream. Until StartBuffering it passes reads through; from then on
/// a thread of its own keeps the buffer full.
///
/// Read, WaitForReadable and the seeks may be called from different threads; this class sees to it
/// that the stream below is opened, read and positioned by one at a time. Reading never blocks
/// once buffering runs: it answers -10103 until the fill reaches the start threshold (or the end
/// or an error is known), then gives data down to the stop threshold, then -10103 again. What was
/// read before the end or an error is delivered before that is reported. When the stream below
/// was closed, reads and waits fail with -10002 within 100 ms.
class AVR_API BufferStream : public Avr::Interface::IReadableStream {
public:
    /// WaitForReadable's answer when the time ran out.
    static constexpr int TimedOut = -62;

    /// Neither opens nor reads the stream.
    explicit BufferStream(boost::shared_ptr<Avr::Interface::IReadableStream> stream);
    /// Waits for a read in progress, so the stream should be closed or drained first.
    ~BufferStream() override;
    BufferStream(BufferStream const&) = delete;
    BufferStream& operator=(BufferStream const&) = delete;

    /// Sizes in bytes. The buffer grows with the data, to 16 MiB at most; the thresholds are
    /// clamped to it. They may be set before or after StartBuffering.
    void SetMaxBufferSize(unsigned int bytes);
    /// Fill from which Read gives data.
    void SetStartThreashold(unsigned int bytes);
    /// Fill down to which it does.
    void SetStopThreashold(unsigned int bytes);

    /// Starts the filling thread; a second call changes nothing.
    void StartBuffering();

    /// Waits until Read will not answer -10103. Before StartBuffering it reads the stream itself
    /// and keeps what it gets.
    /// @param milliseconds  longest wait
    /// @param progress      called on this thread, with no lock held, with the fill in percent of
    ///                      the start threshold (100 = playable): once at first and on each change
    /// @return 0 readable; -62 when the time ran out; -10002 when the stream was closed
    int WaitForReadable(int milliseconds, boost::function<void(int)> const& progress);

    /// While it is on, nothing is read ahead: a bracket around a seek that starts reading over. On
    /// and off come in pairs.
    void SeekLock(bool on);

    /// The stream below.
    boost::shared_ptr<Avr::Interface::IReadableStream> GetStream() const;
    /// Byte offset of the next byte that Read gives; -1 after a seek by time.
    long long GetPosition() const;

    // IReadableStream. Length, address, type, error status and capabilities are the stream's own.
    int IsOpened() override;
    int Open() override;
    void Close() override;
    int Read(void* buf, unsigned int len, unsigned int* got) override;
    int GetCapabilities() override;
    /// Within the buffer, or at least the last 64 KiB read, it only moves the reading position,
    /// whatever the stream can do; elsewhere it positions the stream and empties the buffer.
    int SeekByte(long long offset) override;
    int SeekTime(double seconds) override;
    int GetStreamProperty(int key, std::string& value) override;
    int GetErrorStatus() override;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}} // namespace kiv::appli
