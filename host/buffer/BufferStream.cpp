#include "platform/BufferStream.h"

#include "RingBuffer.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

namespace kiv { namespace appli {

namespace {

using Clock = std::chrono::steady_clock;
using Lock = std::unique_lock<std::mutex>;
using std::chrono::milliseconds;

constexpr std::size_t History = 64 * 1024;
constexpr std::size_t LargestBuffer = 16 * 1024 * 1024;
constexpr std::size_t SmallestBuffer = 4096;
/// One read of the stream below by the filling thread. Large, since every wake-up costs.
constexpr std::size_t FillStep = 128 * 1024;
/// One read of the stream below while WaitForReadable does the reading.
constexpr std::size_t ShortStep = 4096;
/// How long to leave a stream alone that has nothing yet.
constexpr milliseconds RetryPause(5);
/// How often those who wait look whether the stream below was closed.
constexpr milliseconds ClosedPoll(50);

} // namespace

class BufferStream::Impl {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    explicit Impl(StreamPtr stream) : m_base(std::move(stream)) {}
    ~Impl();

    void setMaximum(std::size_t bytes);
    void setStart(std::size_t bytes);
    void setStop(std::size_t bytes);
    void start();
    int wait(milliseconds time, boost::function<void(int)> const& progress);
    int read(void* buf, unsigned int len, unsigned int& got);
    int open();
    void close();
    int seekByte(long long offset);
    int seekTime(double seconds);
    long long position() const;
    StreamPtr const& base() const { return m_base; }

private:
    // With m_lock held.
    void settleSizes();
    void settleReadable();
    bool shouldFill() const;
    bool hasAnswer() const;
    bool nothingKept() const { return !m_started && !hasAnswer(); }
    int percent() const;
    bool moveTo(long long offset);
    void restartAt(long long offset);
    int takeBuffered(void* buf, unsigned int len, unsigned int& got);
    void notifyAll();

    // Without it.
    bool isOpen() const;
    void fillLoop();
    int readIntoRing(std::size_t step, bool (Impl::*wanted)() const);
    int readThrough(void* buf, unsigned int len, unsigned int& got);
    template <class Move>
    int moveBase(Move move, long long newPosition);

    StreamPtr const m_base;

    /// Held around every Open, Read and seek of the stream below; taken before m_lock.
    std::mutex m_baseLock;
    /// Guards what follows; never held while calling out.
    mutable std::mutex m_lock;
    std::condition_variable m_readerWake; ///< data, an end, a seek or Close
    std::condition_variable m_fillerWake; ///< room, a seek or the end of this object
    avr::host::RingBuffer m_ring{History};
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

BufferStream::Impl::~Impl()
{
    {
        Lock lock(m_lock);
        m_quit = true;
        notifyAll();
    }
    if (m_filler.joinable())
        m_filler.join();
}

void BufferStream::Impl::notifyAll()
{
    ++m_changes;
    m_readerWake.notify_all();
    m_fillerWake.notify_all();
}

void BufferStream::Impl::settleSizes()
{
    m_maximum = std::clamp(m_wantedMaximum, SmallestBuffer, LargestBuffer);
    m_start = std::clamp(m_wantedStart, std::size_t(1), m_maximum);
    m_stop = std::min(m_wantedStop, m_start - 1);
    settleReadable();
    notifyAll();
}

void BufferStream::Impl::setMaximum(std::size_t bytes)
{
    Lock lock(m_lock);
    m_wantedMaximum = bytes;
    settleSizes();
}

void BufferStream::Impl::setStart(std::size_t bytes)
{
    Lock lock(m_lock);
    m_wantedStart = bytes;
    settleSizes();
}

void BufferStream::Impl::setStop(std::size_t bytes)
{
    Lock lock(m_lock);
    m_wantedStop = bytes;
    settleSizes();
}

void BufferStream::Impl::start()
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

void BufferStream::Impl::settleReadable()
{
    if (m_end != 0 || m_ring.ahead() >= m_start)
        m_readable = true;
    else if (m_ring.ahead() <= m_stop)
        m_readable = false;
    if (m_ring.ahead() >= m_maximum)
        m_filling = false;
    else if (!m_readable || m_ring.ahead() <= m_maximum / 2)
        m_filling = true;
}

bool BufferStream::Impl::shouldFill() const
{
    return !m_quit && m_filling && m_end == 0 && m_seeksWaiting == 0;
}

bool BufferStream::Impl::hasAnswer() const
{
    return m_started ? m_readable : m_ring.ahead() != 0 || m_end != 0;
}

int BufferStream::Impl::percent() const
{
    if (hasAnswer())
        return 100;
    return m_started ? static_cast<int>(m_ring.ahead() * 100 / m_start) : 0;
}

void BufferStream::Impl::fillLoop()
{
    for (;;) {
        {
            Lock lock(m_lock);
            m_fillerWake.wait(lock, [this] { return m_quit || shouldFill(); });
            if (m_quit)
                return;
        }
        bool const open = isOpen();
        if (open && readIntoRing(FillStep, &Impl::shouldFill) != StreamRetry)
            continue;
        Lock lock(m_lock);
        m_fillerWake.wait_for(lock, open ? RetryPause : ClosedPoll, [this] { return m_quit; });
    }
}

/// A stream that throws is taken as closed.
bool BufferStream::Impl::isOpen() const
{
    try {
        return m_base->IsOpened() >= 0;
    } catch (...) {
        return false;
    }
}

/// One read of the stream below into the ring, if it is still `wanted` when the stream is free.
int BufferStream::Impl::readIntoRing(std::size_t step, bool (Impl::*wanted)() const)
{
    Lock base(m_baseLock);
    unsigned int got = 0;
    int result = ErrorFailed;
    try {
        avr::host::RingBuffer::Room room{nullptr, 0};
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

int BufferStream::Impl::wait(milliseconds time, boost::function<void(int)> const& progress)
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
            return TimedOut;
        milliseconds pause = ClosedPoll;
        if (reading) {
            lock.unlock();
            if (readIntoRing(ShortStep, &Impl::nothingKept) != StreamRetry)
                continue;
            lock.lock();
            pause = RetryPause;
        }
        m_readerWake.wait_until(lock, std::min(deadline, now + pause),
                                [&] { return m_changes != seen; });
    }
}

int BufferStream::Impl::read(void* buf, unsigned int len, unsigned int& got)
{
    got = 0;
    if (len == 0)
        return Ok;
    if (!isOpen())
        return ErrorFailed;
    {
        Lock lock(m_lock);
        if (m_started)
            return takeBuffered(buf, len, got);
    }
    return readThrough(buf, len, got);
}

int BufferStream::Impl::takeBuffered(void* buf, unsigned int len, unsigned int& got)
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
    if (m_filling && !wasFilling)
        m_fillerWake.notify_one();
    return Ok;
}

/// Before StartBuffering: straight from the stream below into the caller's memory; only the
/// history takes a copy.
int BufferStream::Impl::readThrough(void* buf, unsigned int len, unsigned int& got)
{
    Lock base(m_baseLock);
    {
        Lock lock(m_lock);
        if (m_started || hasAnswer())
            return takeBuffered(buf, len, got);
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

int BufferStream::Impl::open()
{
    return moveBase([this] { return m_base->Open(); }, 0);
}

void BufferStream::Impl::close()
{
    m_base->Close();
    Lock lock(m_lock);
    notifyAll();
}

bool BufferStream::Impl::moveTo(long long offset)
{
    if (m_position < 0 || !m_ring.move(offset - m_position))
        return false;
    m_position = offset;
    settleReadable();
    notifyAll();
    return true;
}

int BufferStream::Impl::seekByte(long long offset)
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

int BufferStream::Impl::seekTime(double seconds)
{
    return moveBase([this, seconds] { return m_base->SeekTime(seconds); }, -1);
}

/// Repositions the stream below, once a read in progress is over, and begins anew there.
template <class Move>
int BufferStream::Impl::moveBase(Move move, long long newPosition)
{
    {
        Lock lock(m_lock);
        ++m_seeksWaiting;
    }
    int result = ErrorFailed;
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

void BufferStream::Impl::restartAt(long long offset)
{
    m_ring.clear();
    m_position = offset;
    m_end = 0;
    m_readable = false;
    settleReadable();
}

long long BufferStream::Impl::position() const
{
    Lock lock(m_lock);
    return std::max(m_position, -1LL);
}

BufferStream::BufferStream(boost::shared_ptr<Avr::Interface::IReadableStream> stream)
    : m_impl(new Impl(std::move(stream)))
{}

BufferStream::~BufferStream() = default;

void BufferStream::SetMaxBufferSize(unsigned int bytes) { m_impl->setMaximum(bytes); }
void BufferStream::SetStartThreashold(unsigned int bytes) { m_impl->setStart(bytes); }
void BufferStream::SetStopThreashold(unsigned int bytes) { m_impl->setStop(bytes); }
void BufferStream::StartBuffering() { m_impl->start(); }

int BufferStream::WaitForReadable(int milliseconds, boost::function<void(int)> const& progress)
{
    return m_impl->wait(std::chrono::milliseconds(milliseconds), progress);
}

boost::shared_ptr<Avr::Interface::IReadableStream> BufferStream::GetStream() const
{
    return m_impl->base();
}

long long BufferStream::GetPosition() const { return m_impl->position(); }

int BufferStream::IsOpened() { return m_impl->base()->IsOpened(); }
int BufferStream::Open() { return m_impl->open(); }
void BufferStream::Close() { m_impl->close(); }

int BufferStream::Read(void* buf, unsigned int len, unsigned int* got)
{
    return m_impl->read(buf, len, *got);
}

int BufferStream::GetCapabilities() { return m_impl->base()->GetCapabilities(); }
int BufferStream::SeekByte(long long offset) { return m_impl->seekByte(offset); }
int BufferStream::SeekTime(double seconds) { return m_impl->seekTime(seconds); }

int BufferStream::GetStreamProperty(int key, std::string& value)
{
    return m_impl->base()->GetStreamProperty(key, value);
}

int BufferStream::GetErrorStatus() { return m_impl->base()->GetErrorStatus(); }

}} // namespace kiv::appli
