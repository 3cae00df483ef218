// The filling side: the thread that reads ahead.
#include "ReadAhead.h"

#include <algorithm>
#include <system_error>

namespace avr { namespace host {

using namespace kiv::appli;
using Lock = std::unique_lock<std::mutex>;

namespace {

/// One read of the stream below by the filling thread. Large, since every wake-up costs: also a
/// quarter of the buffer, so that a reader that waits for it is not woken for little.
constexpr std::size_t FillStep = 128 * 1024;

} // namespace

void ReadAhead::start()
{
    Lock base(m_baseLock); // a reading in progress still passes through
    Lock lock(m_lock);
    if (m_started)
        return;
    settleSizes();
    try {
        m_filler = std::thread([this] { fillLoop(); });
        m_started = true;
    } catch (std::system_error const&) { // no thread to be had: reads go on passing through
    }
}

bool ReadAhead::shouldFill() const
{
    return !m_quit && m_filling && m_end == 0 && m_seeksWaiting == 0;
}

void ReadAhead::fillLoop()
{
    for (;;) {
        std::size_t step = FillStep;
        {
            Lock lock(m_lock);
            m_fillerWake.wait(lock, [this] { return m_quit || shouldFill(); });
            if (m_quit)
                return;
            step = std::max(step, m_maximum / 4);
        }
        bool const open = isOpen();
        if (open && readIntoRing(step, &ReadAhead::shouldFill) != StreamRetry)
            continue;
        Lock lock(m_lock);
        m_fillerWake.wait_for(lock, open ? RetryPause : ClosedPoll, [this] { return m_quit; });
    }
}

/// A stream that throws is taken as closed.
bool ReadAhead::isOpen() const
{
    try {
        return m_base->IsOpened() >= 0;
    } catch (...) {
        return false;
    }
}

/// One read of the stream below into the ring, if it is still `wanted` when the stream is free.
int ReadAhead::readIntoRing(std::size_t step, bool (ReadAhead::*wanted)() const)
{
    Lock base(m_baseLock);
    unsigned int got = 0;
    int result = ErrorFailed;
    try {
        RingBuffer::Room room{nullptr, 0};
        {
            Lock lock(m_lock);
            if (!(this->*wanted)())
                return Ok;
            std::size_t const free = std::max(m_maximum, m_ring.ahead() + 1) - m_ring.ahead();
            room =
                m_ring.reserve(std::min(step, free), m_started ? m_maximum + History : 2 * History);
        }
        unsigned int const size = static_cast<unsigned int>(room.size);
        result = m_base->Read(room.data, size, &got);
        got = std::min(got, size);
    } catch (...) { // a stream that throws has failed, and so has one there is no memory for
    }
    if (result >= 0 && got == 0)
        result = StreamRetry;
    if (result == StreamRetry)
        return result;

    Lock lock(m_lock);
    if (result >= 0)
        m_ring.commit(got);
    else
        m_end = result;
    settleReadable();
    ++m_changes;
    m_readerWake.notify_all();
    return result;
}

}} // namespace avr::host
