#include "ReadAhead.h"

#include "platform/BufferStream.h"

#include <algorithm>
#include <new>
#include <system_error>

namespace tiny {

using namespace kiv::appli;
using Lock = std::unique_lock<std::mutex>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t SmallestBuffer = 4096;
constexpr std::size_t LargestBuffer = 16 * 1024 * 1024;
constexpr std::size_t LargestStep = 128 * 1024; ///< one read of the stream below
constexpr std::size_t History = 64 * 1024;      ///< what may be read again
/// How often those who wait look whether the stream was closed, which nobody tells them.
constexpr milliseconds Poll(20);

} // namespace

std::size_t ReadAhead::size() const { return std::clamp(m_maximum, SmallestBuffer, LargestBuffer); }
std::size_t ReadAhead::startSize() const { return std::clamp(m_startAt, std::size_t(1), size()); }
std::size_t ReadAhead::stopSize() const { return std::min(m_stopAt, startSize() - 1); }

ReadAhead::~ReadAhead()
{
    {
        Lock guard(m_lock);
        m_quit = true;
        m_changed.notify_all();
    }
    if (m_filler.joinable())
        m_filler.join();
}

bool ReadAhead::isOpen() const
{
    try {
        return m_stream->IsOpened() >= 0;
    } catch (...) { // a stream that throws has failed
        return false;
    }
}

void ReadAhead::resize(std::size_t& wish, std::size_t bytes)
{
    Lock guard(m_lock);
    wish = bytes;
    settle();
}

void ReadAhead::settle()
{
    if (m_end != 0 || ahead() >= startSize())
        m_readable = true;
    else if (ahead() <= stopSize())
        m_readable = false;
    m_changed.notify_all();
}

/// Before the start only what a reader waits for is read; from then on half a buffer at a time.
bool ReadAhead::wantsMore() const
{
    if (m_end != 0 || m_holds != 0)
        return false;
    return m_started ? ahead() < size() && (!m_readable || ahead() <= size() / 2) : ahead() == 0;
}

int ReadAhead::percent() const
{
    if (m_end != 0 || (m_started ? m_readable : ahead() != 0))
        return 100;
    return m_started ? static_cast<int>(ahead() * 100 / startSize()) : 0;
}

/// Takes the step over. @return false when there is no memory
bool ReadAhead::append(std::size_t count)
{
    if (m_at > 2 * History) {
        m_bytes.erase(m_bytes.begin(), m_bytes.end() - static_cast<long>(ahead() + History));
        m_at = History;
    }
    try {
        m_bytes.insert(m_bytes.end(), m_step.begin(), m_step.begin() + static_cast<long>(count));
        return true;
    } catch (std::bad_alloc const&) {
        return false;
    }
}

/// One read of the stream below, if more is wanted still when it is free.
int ReadAhead::fetch(std::size_t most)
{
    Lock alone(m_streamLock);
    {
        Lock guard(m_lock);
        if (!wantsMore())
            return StreamRetry;
        most = std::min({most, LargestStep, m_started ? size() - ahead() : most});
    }
    unsigned int got = 0;
    int result = ErrorFailed;
    try {
        m_step.resize(most);
        result = m_stream->Read(m_step.data(), static_cast<unsigned int>(most), &got);
    } catch (...) { // a stream that throws has failed
    }
    if (result == StreamRetry || (result >= 0 && got == 0))
        return StreamRetry;
    Lock guard(m_lock);
    if (result >= 0 && !append(std::min<std::size_t>(got, most)))
        result = ErrorFailed;
    if (result < 0)
        m_end = result;
    settle();
    return result;
}

void ReadAhead::start()
{
    Lock alone(m_streamLock);
    Lock guard(m_lock);
    if (m_started)
        return;
    try {
        m_filler = std::thread([this] { fillLoop(); });
        m_started = true;
        settle();
    } catch (std::system_error const&) { // no thread to be had: reads go on passing through
    }
}

void ReadAhead::fillLoop()
{
    Lock guard(m_lock);
    while (!m_quit) {
        if (!wantsMore()) {
            m_changed.wait(guard);
            continue;
        }
        std::size_t const step = size() / 2;
        guard.unlock();
        bool const idle = !isOpen() || fetch(step) == StreamRetry;
        guard.lock();
        if (idle)
            m_changed.wait_for(guard, Poll, [this] { return m_quit; });
    }
}

int ReadAhead::wait(milliseconds time, boost::function<void(int)> const& progress)
{
    Clock::time_point const deadline = Clock::now() + time;
    for (int reported = -1;;) {
        if (!isOpen())
            return ErrorFailed;
        Lock guard(m_lock);
        int const fill = percent();
        bool const readsItself = !m_started;
        guard.unlock();
        if (fill != reported && progress)
            progress(fill);
        reported = fill;
        if (fill == 100)
            return Ok;
        if (Clock::now() >= deadline)
            return BufferStream::TimedOut;
        if (readsItself && fetch(SmallestBuffer) != StreamRetry)
            continue;
        guard.lock();
        m_changed.wait_until(guard, std::min(deadline, Clock::now() + Poll),
                             [&] { return percent() != fill; });
    }
}

int ReadAhead::read(void* buf, unsigned int len, unsigned int& got)
{
    got = 0;
    if (len == 0)
        return Ok;
    if (!isOpen())
        return ErrorFailed;
    Lock guard(m_lock);
    if (!m_started && wantsMore()) {
        guard.unlock();
        fetch(len);
        guard.lock();
    }
    if (m_started && !m_readable)
        return StreamRetry;
    std::size_t const kept = m_started && m_end == 0 ? std::min(stopSize(), ahead()) : 0;
    std::size_t const most = std::min<std::size_t>(len, ahead() - kept);
    if (most == 0)
        return m_end != 0 ? m_end : StreamRetry;
    std::copy_n(m_bytes.data() + m_at, most, static_cast<std::uint8_t*>(buf));
    got = static_cast<unsigned int>(most);
    m_at += most;
    if (m_position >= 0)
        m_position += static_cast<long long>(most);
    settle();
    return Ok;
}

int ReadAhead::seekByte(long long offset)
{
    if (offset < 0)
        return ErrorFailed;
    {
        Lock guard(m_lock);
        long long const there = offset - m_position + static_cast<long long>(m_at);
        if (m_position >= 0 && there >= 0 && there <= static_cast<long long>(m_bytes.size())) {
            m_at = static_cast<std::size_t>(there);
            m_position = offset;
            settle();
            return Ok;
        }
    }
    return moveStream([=] { return m_stream->SeekByte(offset); }, offset);
}

long long ReadAhead::position()
{
    Lock guard(m_lock);
    return m_position;
}

/// Positions the stream below, once a read in progress is over, and begins anew there.
int ReadAhead::moveStream(boost::function<int()> const& move, long long newPosition)
{
    holdFilling(true);
    Lock alone(m_streamLock);
    int result = ErrorFailed;
    try {
        result = move();
    } catch (...) { // a stream that throws has failed
    }
    if (result >= 0) {
        Lock guard(m_lock);
        m_bytes.clear();
        m_at = 0;
        m_end = 0;
        m_readable = false;
        m_position = newPosition;
    }
    holdFilling(false);
    return result;
}

void ReadAhead::holdFilling(bool on)
{
    Lock guard(m_lock);
    m_holds += on ? 1 : -1;
    m_changed.notify_all();
}

} // namespace tiny
