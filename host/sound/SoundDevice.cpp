#include "SoundDevice.h"

#include "SoundDeviceImpl.h"
#include "decoder/Result.h"

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <new>

namespace avr { namespace host {

namespace {

/// About half a second, so that a decoder runs ahead but a seek stays prompt.
std::size_t queueLimit(PcmFormat const& format)
{
    const std::uint64_t half = std::uint64_t(format.rate) * format.frameBytes() / 2;
    return std::size_t(std::clamp<std::uint64_t>(half, 64u << 10, 16u << 20));
}

bool playable(PcmFormat const& format)
{
    return format.rate != 0 && format.frameBytes() != 0 && format.bytesPerSample <= 4;
}

} // namespace

/// A caller's turn in the sink: the thread is kept out of it, and m_lock is free meanwhile.
class SoundDevice::Impl::SinkClaim {
public:
    explicit SinkClaim(Impl& device) : m_device(device)
    {
        Lock lock(device.m_lock);
        ++device.m_claims;
        while (device.m_inSink)
            device.m_outside.wait(lock);
        device.m_inSink = true;
    }
    ~SinkClaim()
    {
        Lock lock(m_device.m_lock);
        --m_device.m_claims;
        m_device.m_inSink = false;
        m_device.m_outside.notify_all();
        m_device.m_work.notify_all();
    }
    SinkClaim(SinkClaim const&) = delete;
    SinkClaim& operator=(SinkClaim const&) = delete;

private:
    boost::this_thread::disable_interruption m_whole; ///< a sink is never left half opened
    Impl& m_device;
};

SoundDevice::Impl::~Impl()
{
    std::string ignored;
    replaceSink(nullptr, ignored);
    {
        Lock lock(m_lock);
        m_quit = true;
        m_work.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

bool SoundDevice::Impl::replaceSink(std::unique_ptr<ISoundSink> sink, std::string& error)
{
    stop();
    SinkClaim claim(*this);
    const bool stored = !m_sink || guardedSinkCall(error, [&] {
        if (m_sinkHolds)
            m_sink->discard();
        return m_sink->close(error);
    });
    m_sink.swap(sink);
    m_sinkPaused = false;
    Lock lock(m_lock);
    m_opened = m_dropHeld = m_sinkHolds = false;
    return stored;
}

bool SoundDevice::Impl::beginRun(PcmFormat const& format, std::string& error)
{
    SinkClaim claim(*this);
    if (!startThread(error))
        return false;
    const bool dropHeld = resetRun(format);
    const bool opened = openSink(format, dropHeld, error);
    Lock lock(m_lock);
    m_opened = opened;
    if (dropHeld)
        m_sinkHolds = m_dropHeld = false;
    if (!opened)
        fail(error);
    return opened;
}

bool SoundDevice::Impl::startThread(std::string& error)
{
    if (m_thread.joinable())
        return true;
    return guardedSinkCall(error, [this] {
        m_thread = std::thread([this] { run(); });
        return true;
    });
}

/// @return the sink must drop what it holds
bool SoundDevice::Impl::resetRun(PcmFormat const& format)
{
    Lock lock(m_lock);
    dropQueued();
    if (playable(format) && m_queue.frameBytes() != format.frameBytes()) {
        m_queue = PcmQueue(format.frameBytes());
        m_chunk = nullptr;
    }
    m_limit = queueLimit(format);
    m_bytesTaken = 0;
    m_failure.clear();
    m_mark = m_paused = m_stopped = m_opened = m_finished = false;
    ++m_runs;
    return m_dropHeld;
}

bool SoundDevice::Impl::openSink(PcmFormat const& format, bool dropHeld, std::string& error)
{
    if (!m_sink || !playable(format)) {
        error = m_sink ? "this is no PCM format that can be played" : "there is no sound output";
        return false;
    }
    return guardedSinkCall(error, [&] {
        if (dropHeld)
            m_sink->discard();
        if (m_sinkPaused)
            m_sink->pause(false);
        m_sinkPaused = false;
        return m_sink->open(format, error);
    });
}

int SoundDevice::Impl::put(const std::uint8_t* pcm, std::size_t bytes)
{
    Lock lock(m_lock);
    const unsigned run = m_runs;
    const unsigned drop = m_drops;
    while (running() && m_drops == drop && queued() >= m_limit)
        m_room.wait(lock);
    if (!running() || m_runs != run)
        return kiv::appli::ErrorFailed;
    if (m_drops != drop)
        return kiv::appli::Ok;
    m_queue.push(pcm, bytes);
    m_work.notify_all();
    return kiv::appli::Ok;
}

void SoundDevice::Impl::putEofMark(bool mark)
{
    Lock lock(m_lock);
    m_mark = mark;
    m_work.notify_all();
}

bool SoundDevice::Impl::getEofMark()
{
    Lock lock(m_lock);
    return m_mark;
}

bool SoundDevice::Impl::isPlaybackCompleted()
{
    Lock lock(m_lock);
    const bool nothingLeft = queued() == 0 && !m_sinkHolds;
    return m_mark && !m_paused && (nothingLeft || !m_failure.empty());
}

void SoundDevice::Impl::pause(bool paused)
{
    Lock lock(m_lock);
    m_paused = paused;
    m_work.notify_all();
}

void SoundDevice::Impl::discard()
{
    Lock lock(m_lock);
    dropQueued();
    m_dropHeld = m_sinkHolds;
    m_mark = false;
    m_work.notify_all();
}

void SoundDevice::Impl::stop()
{
    Lock lock(m_lock);
    dropQueued();
    m_dropHeld = m_sinkHolds;
    m_stopped = true;
    ++m_runs;
    m_work.notify_all();
}

unsigned long long SoundDevice::Impl::bytesTaken()
{
    Lock lock(m_lock);
    return m_bytesTaken;
}

std::string SoundDevice::Impl::failure()
{
    Lock lock(m_lock);
    return m_failure;
}

/// The thread sees by m_drops that the rest of its chunk is gone too.
void SoundDevice::Impl::dropQueued()
{
    ++m_drops;
    m_queue.clear();
    m_offset = m_chunk ? m_chunk->size() : 0;
    m_room.notify_all();
}

void SoundDevice::Impl::fail(std::string const& error)
{
    dropQueued();
    m_sinkHolds = m_dropHeld = false;
    m_failure = error;
}

SoundDevice& SoundDevice::instance()
{
    // Never destroyed: decoding threads may still ask it while the process ends.
    static SoundDevice* const device = new SoundDevice;
    return *device;
}

SoundDevice::SoundDevice() : m_impl(std::make_unique<Impl>()) {}
SoundDevice::~SoundDevice() = default;

void SoundDevice::setSink(std::unique_ptr<ISoundSink> sink)
{
    std::string ignored;
    m_impl->replaceSink(std::move(sink), ignored);
}

bool SoundDevice::closeSink(std::string& error) { return m_impl->replaceSink(nullptr, error); }

bool SoundDevice::beginRun(PcmFormat const& format, std::string& error)
{
    return m_impl->beginRun(format, error);
}

int SoundDevice::put(const void* pcm, std::size_t bytes)
{
    if (!pcm && bytes != 0)
        return kiv::appli::ErrorFailed;
    try {
        return m_impl->put(static_cast<const std::uint8_t*>(pcm), bytes);
    } catch (std::bad_alloc const&) {
        return kiv::appli::ErrorFailed;
    }
}

void SoundDevice::putEofMark(bool mark) { m_impl->putEofMark(mark); }
bool SoundDevice::getEofMark() { return m_impl->getEofMark(); }
bool SoundDevice::isPlaybackCompleted() { return m_impl->isPlaybackCompleted(); }
void SoundDevice::pause(bool paused) { m_impl->pause(paused); }
void SoundDevice::discard() { m_impl->discard(); }
void SoundDevice::stop() { m_impl->stop(); }
unsigned long long SoundDevice::bytesTaken() const { return m_impl->bytesTaken(); }
std::string SoundDevice::failure() const { return m_impl->failure(); }

}} // namespace avr::host
