// The reader's side: waiting, reading, seeking.
#include "ReadAhead.h"

#include "platform/BufferStream.h"

#include <algorithm>

namespace avr { namespace host {

using namespace kiv::appli;
using Lock = std::unique_lock<std::mutex>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t LargestBuffer = 16 * 1024 * 1024;
constexpr std::size_t SmallestBuffer = 4096;
/// One read of the stream below while WaitForReadable does the reading.
constexpr std::size_t ShortStep = 4096;

} // namespace

ReadAhead::~ReadAhead()
{
    {
        Lock lock(m_lock);
        m_quit = true;
        notifyAll();
    }
    if (m_filler.joinable())
        m_filler.join();
}

void ReadAhead::notifyAll()
{
    ++m_changes;
    m_readerWake.notify_all();
    m_fillerWake.notify_all();
}

void ReadAhead::settleSizes()
{
    m_maximum = std::clamp(m_wantedMaximum, SmallestBuffer, LargestBuffer);
    m_start = std::clamp(m_wantedStart, std::size_t(1), m_maximum);
    m_stop = std::min(m_wantedStop, m_start - 1);
    settleReadable();
    notifyAll();
}

void ReadAhead::setMaximum(std::size_t bytes)
{
    Lock lock(m_lock);
    m_wantedMaximum = bytes;
    settleSizes();
}

void ReadAhead::setStart(std::size_t bytes)
{
    Lock lock(m_lock);
    m_wantedStart = bytes;
    settleSizes();
}

void ReadAhead::setStop(std::size_t bytes)
{
    Lock lock(m_lock);
    m_wantedStop = bytes;
    settleSizes();
}

void ReadAhead::settleReadable()
{
    if (m_end != 0 || m_ring.ahead() >= m_start)
        m_readable = true;
    else if (m_ring.ahead() <= m_stop)
        m_readable = false;
    if (m_ring.ahead() >= m_maximum)
        m_filling = false;
    else if (!m_readable || m_ring.ahead() <= m_maximum / 4)
        m_filling = true;
}

bool ReadAhead::hasAnswer() const
{
    return m_started ? m_readable : m_ring.ahead() != 0 || m_end != 0;
}

int ReadAhead::percent() const
{
    if (hasAnswer())
        return 100;
    return m_started ? static_cast<int>(m_ring.ahead() * 100 / m_start) : 0;
}

int ReadAhead::wait(milliseconds time, boost::function<void(int)> const& progress)
{
    Clock::time_point const deadline = Clock::now() + time;
    int reported = -1;
    for (;;) {
        if (!isOpen())
            return ErrorFailed;
        Lock lock(m_lock);
        bool const ready = hasAnswer();
        bool const reading = !m_started;
        unsigned long const seen = m_changes;
        int const fill = percent();
        if (fill != reported && progress) {
            lock.unlock();
            progress(fill);
            lock.lock();
        }
        reported = fill;
        if (ready)
            return Ok;
        Clock::time_point const now = Clock::now();
        if (now >= deadline)
            return BufferStream::TimedOut;
        milliseconds pause = ClosedPoll;
        if (reading) {
            lock.unlock();
            if (readIntoRing(ShortStep, &ReadAhead::nothingKept) != StreamRetry)
                continue;
            lock.lock();
            pause = RetryPause;
        }
        m_readerWake.wait_until(lock, std::min(deadline, now + pause),
                                [&] { return m_changes != seen; });
    }
}

int ReadAhead::read(void* buf, unsigned int len, unsigned int& got)
{
    got = 0;
    if (len == 0)
        return Ok;
    if (!isOpen())
        return ErrorFailed;
    int const result = readSome(buf, len, got);
    if (m_below && got != 0)
        m_below->taken(position());
    return result;
}

int ReadAhead::readSome(void* buf, unsigned int len, unsigned int& got)
{
    {
        Lock lock(m_lock);
        if (m_started)
            return takeBuffered(lock, buf, len, got);
    }
    return readThrough(buf, len, got);
}

/// Releases the lock: the filling thread must not wake only to wait for it.
int ReadAhead::takeBuffered(Lock& lock, void* buf, unsigned int len, unsigned int& got)
{
    if (!hasAnswer())
        return StreamRetry;
    bool const toTheLast = m_end != 0 || !m_started;
    std::size_t const available = m_ring.ahead() - (toTheLast ? 0 : m_stop);
    if (available == 0)
        return m_end;
    std::size_t const taken = m_ring.read(buf, std::min<std::size_t>(len, available));
    got = static_cast<unsigned int>(taken);
    if (m_position >= 0)
        m_position += static_cast<long long>(taken);
    bool const wasFilling = m_filling;
    settleReadable();
    bool const wakes = m_filling && !wasFilling;
    lock.unlock();
    if (wakes)
        m_fillerWake.notify_one();
    return Ok;
}

/// Before StartBuffering: straight from the stream below into the caller's memory; only the
/// history takes a copy.
int ReadAhead::readThrough(void* buf, unsigned int len, unsigned int& got)
{
    Lock base(m_baseLock);
    {
        Lock lock(m_lock);
        if (m_started || hasAnswer())
            return takeBuffered(lock, buf, len, got);
    }
    unsigned int read = 0;
    int const result = m_base->Read(buf, len, &read);
    if (result < 0)
        return result;
    if (read == 0)
        return StreamRetry;
    got = std::min(read, len);
    Lock lock(m_lock);
    auto const* bytes = static_cast<const std::uint8_t*>(buf);
    if (m_position >= 0)
        m_position += got;
    for (std::size_t done = got - std::min<std::size_t>(got, History); done < got;) {
        auto const room = m_ring.reserve(got - done, 2 * History);
        std::copy_n(bytes + done, room.size, room.data);
        m_ring.commit(room.size);
        m_ring.move(static_cast<long long>(room.size));
        done += room.size;
    }
    return Ok;
}

int ReadAhead::open()
{
    return moveBase([this] { return m_base->Open(); }, 0);
}

void ReadAhead::close()
{
    m_base->Close();
    Lock lock(m_lock);
    notifyAll();
}

bool ReadAhead::moveTo(long long offset)
{
    if (m_position < 0 || !m_ring.move(offset - m_position))
        return false;
    m_position = offset;
    settleReadable();
    notifyAll();
    return true;
}

int ReadAhead::seekByte(long long offset)
{
    if (offset < 0)
        return ErrorFailed;
    {
        Lock lock(m_lock);
        if (moveTo(offset))
            return Ok;
    }
    return moveBase([this, offset] { return m_base->SeekByte(offset); }, offset);
}

int ReadAhead::seekTime(double seconds)
{
    return moveBase([this, seconds] { return m_base->SeekTime(seconds); }, -1);
}

void ReadAhead::seekLock(bool on)
{
    Lock lock(m_lock);
    m_seeksWaiting = on ? m_seeksWaiting + 1 : m_seeksWaiting - 1;
    notifyAll();
}

/// Repositions the stream below, once a read in progress is over, and begins anew there.
template <class Move>
int ReadAhead::moveBase(Move move, long long newPosition)
{
    {
        Lock lock(m_lock);
        ++m_seeksWaiting;
    }
    int result = ErrorFailed;
    if (m_below)
        m_below->interruptRead();
    Lock base(m_baseLock);
    try {
        result = move();
    } catch (...) { // a stream that throws has failed
    }
    Lock lock(m_lock);
    --m_seeksWaiting;
    if (result >= 0)
        restartAt(newPosition);
    notifyAll();
    return result;
}

void ReadAhead::restartAt(long long offset)
{
    m_ring.clear();
    m_position = offset;
    m_end = 0;
    m_readable = false;
    settleReadable();
}

long long ReadAhead::position() const
{
    Lock lock(m_lock);
    return std::max(m_position, -1LL);
}

}} // namespace avr::host
