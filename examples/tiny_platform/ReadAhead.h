#pragma once

#include "platform/IReadableStream.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace tiny {

/// What BufferStream does, in one piece: a vector in front of the stream, and a thread that fills
/// it. BufferStream's contract holds.
class ReadAhead {
public:
    using Stream = Avr::Interface::IReadableStream;

    explicit ReadAhead(boost::shared_ptr<Stream> stream) : m_stream(std::move(stream)) {}
    ~ReadAhead();

    void setMaximum(std::size_t bytes) { resize(m_maximum, bytes); }
    void setStart(std::size_t bytes) { resize(m_startAt, bytes); }
    void setStop(std::size_t bytes) { resize(m_stopAt, bytes); }
    void start();
    int wait(std::chrono::milliseconds time, boost::function<void(int)> const& progress);
    int read(void* buf, unsigned int len, unsigned int& got);
    int seekByte(long long offset);
    int moveStream(boost::function<int()> const& move, long long newPosition);
    void holdFilling(bool on);
    long long position();
    boost::shared_ptr<Stream> const& stream() const { return m_stream; }

private:
    // With m_lock held.
    std::size_t size() const;
    std::size_t startSize() const;
    std::size_t stopSize() const;
    std::size_t ahead() const { return m_bytes.size() - m_at; }
    bool wantsMore() const;
    int percent() const;
    void settle();
    bool append(std::size_t count);

    // Without it.
    void resize(std::size_t& wish, std::size_t bytes);
    bool isOpen() const;
    int fetch(std::size_t most);
    void fillLoop();

    boost::shared_ptr<Stream> const m_stream;
    std::mutex m_streamLock;           ///< one Open, Read or seek at a time; taken first
    std::vector<std::uint8_t> m_step;  ///< what is being read; guarded by m_streamLock
    std::mutex m_lock;                 ///< guards what follows; never held while calling out
    std::condition_variable m_changed; ///< anything of it
    std::size_t m_maximum = 256000;    ///< the sizes as they were asked for
    std::size_t m_startAt = 128000;
    std::size_t m_stopAt = 0;
    long long m_position = 0;          ///< of the next byte that is read; -1 = unknown
    std::vector<std::uint8_t> m_bytes; ///< history, and what is ahead
    std::size_t m_at = 0;              ///< the reader's place in it
    int m_end = 0;                     ///< why nothing follows; 0 = more may come
    bool m_readable = false;           ///< the hysteresis between the thresholds
    bool m_started = false;
    bool m_quit = false;
    int m_holds = 0; ///< seeks that want the stream for themselves
    std::thread m_filler;
};

} // namespace tiny
