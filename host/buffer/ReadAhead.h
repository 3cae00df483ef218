#pragma once

#include "BelowBuffer.h"
#include "RingBuffer.h"
#include "platform/IReadableStream.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace avr { namespace host {

/// A read-ahead buffer: a ring in front of a stream, and the thread that fills it. BufferStream's
/// contract holds; this is its one implementation on the host.
class ReadAhead {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;
    /// Bytes behind the reader that may be read again.
    static constexpr std::size_t History = 64 * 1024;

    explicit ReadAhead(StreamPtr stream)
        : m_base(std::move(stream)), m_below(dynamic_cast<BelowBuffer*>(m_base.get()))
    {}
    ~ReadAhead();

    void setMaximum(std::size_t bytes);
    void setStart(std::size_t bytes);
    void setStop(std::size_t bytes);
    void start();
    int wait(std::chrono::milliseconds time, boost::function<void(int)> const& progress);
    int read(void* buf, unsigned int len, unsigned int& got);
    int open();
    void close();
    int seekByte(long long offset);
    int seekTime(double seconds);
    void seekLock(bool on);
    long long position() const;
    StreamPtr const& base() const { return m_base; }

private:
    /// How long to leave a stream alone that has nothing yet.
    static constexpr std::chrono::milliseconds RetryPause{5};
    /// How often those who wait look whether the stream below was closed.
    static constexpr std::chrono::milliseconds ClosedPoll{50};

    // With m_lock held.
    void settleSizes();
    void settleReadable();
    bool shouldFill() const;
    bool hasAnswer() const;
    bool nothingKept() const { return !m_started && !hasAnswer(); }
    int percent() const;
    bool moveTo(long long offset);
    void restartAt(long long offset);
    int readSome(void* buf, unsigned int len, unsigned int& got);
    int takeBuffered(std::unique_lock<std::mutex>& lock, void* buf, unsigned int len,
                     unsigned int& got);
    void notifyAll();

    // Without it.
    bool isOpen() const;
    void fillLoop();
    int readIntoRing(std::size_t step, bool (ReadAhead::*wanted)() const);
    int readThrough(void* buf, unsigned int len, unsigned int& got);
    template <class Move>
    int moveBase(Move move, long long newPosition);

    StreamPtr const m_base;
    BelowBuffer* const m_below; ///< the same; null where it does not care

    /// Held around every Open, Read and seek of the stream below; taken before m_lock.
    std::mutex m_baseLock;
    /// Guards what follows; never held while calling out.
    mutable std::mutex m_lock;
    std::condition_variable m_readerWake; ///< data, an end, a seek or Close
    std::condition_variable m_fillerWake; ///< room, a seek or the end of this object
    RingBuffer m_ring{History};
    std::size_t m_wantedMaximum = 256000; ///< the sizes as they were asked for
    std::size_t m_wantedStart = 128000;
    std::size_t m_wantedStop = 0;
    std::size_t m_maximum = m_wantedMaximum; ///< the sizes as they hold
    std::size_t m_start = m_wantedStart;
    std::size_t m_stop = m_wantedStop;
    long long m_position = 0; ///< of the reader in the stream; negative = unknown
    int m_end = 0;            ///< why nothing follows the data in the ring; 0 = more may come
    bool m_readable = false;  ///< the hysteresis between the thresholds
    bool m_filling = true;    ///< the hysteresis of the filling thread
    bool m_started = false;
    bool m_quit = false;
    unsigned int m_seeksWaiting = 0; ///< the filling thread leaves them the stream below
    unsigned long m_changes = 0;     ///< counts what m_readerWake announces
    std::thread m_filler;            ///< made by start, joined by the destructor
};

}} // namespace avr::host
