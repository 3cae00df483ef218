#include "SoundDeviceImpl.h"

#include <algorithm>

namespace avr { namespace host {

namespace {
/// How soon a sink that had no room, or that plays its rest, is asked again.
const boost::posix_time::milliseconds AskAgain(10);
} // namespace

void SoundDevice::Impl::run()
{
    Lock lock(m_lock);
    while (!m_quit)
        perform(nextStep(), lock);
}

SoundDevice::Impl::Step SoundDevice::Impl::nextStep() const
{
    if (m_claims != 0 || !m_opened || !m_failure.empty())
        return Step::Wait;
    if (m_dropHeld)
        return Step::Discard;
    if (m_stopped)
        return Step::Wait;
    if (m_paused != m_sinkPaused)
        return Step::Pause;
    if (m_paused)
        return Step::Wait;
    if (queued() != 0)
        return Step::Write;
    if (!m_mark || !m_sinkHolds)
        return Step::Wait;
    return m_finished ? Step::AskDrained : Step::Finish;
}

void SoundDevice::Impl::perform(Step step, Lock& lock)
{
    switch (step) {
    case Step::Wait:
        return m_work.wait(lock);
    case Step::Discard:
        return discardSink(lock);
    case Step::Pause:
        return applyPause(lock);
    case Step::Write:
        return writeChunk(lock);
    case Step::Finish:
        return finishSink(lock);
    case Step::AskDrained:
        return askDrained(lock);
    }
}

void SoundDevice::Impl::writeChunk(Lock& lock)
{
    if (chunkLeft() == 0) {
        m_chunk = &m_queue.take();
        m_offset = 0;
    }
    const std::uint8_t* const pcm = m_chunk->data() + m_offset;
    const std::size_t bytes = chunkLeft();
    const unsigned drop = m_drops;
    m_sinkHolds = true;
    m_finished = false;
    long taken = 0;
    const bool good = visitSink(lock, [&](std::string& error) {
        taken = m_sink->write(pcm, bytes, error);
        return taken >= 0;
    });
    if (!good)
        return;
    const std::size_t step = std::min(std::size_t(taken), bytes);
    m_bytesTaken += step;
    if (m_drops == drop)
        m_offset += step;
    if (step == 0)
        m_work.timed_wait(lock, AskAgain);
    else if (queued() < m_limit)
        m_room.notify_all();
}

void SoundDevice::Impl::applyPause(Lock& lock)
{
    m_sinkPaused = m_paused;
    visitSink(lock, [this, paused = m_paused](std::string&) {
        m_sink->pause(paused);
        return true;
    });
}

void SoundDevice::Impl::discardSink(Lock& lock)
{
    m_dropHeld = false;
    visitSink(lock, [this](std::string&) {
        m_sink->discard();
        return true;
    });
    m_sinkHolds = false;
}

void SoundDevice::Impl::finishSink(Lock& lock)
{
    m_finished = true;
    visitSink(lock, [this](std::string&) {
        m_sink->finish();
        return true;
    });
}

void SoundDevice::Impl::askDrained(Lock& lock)
{
    bool drained = false;
    visitSink(lock, [&](std::string&) {
        drained = m_sink->drained();
        return true;
    });
    if (drained)
        m_sinkHolds = false;
    else
        m_work.timed_wait(lock, AskAgain);
}

/// Goes into the sink with the lock free; the caller looks again at everything afterwards.
template <typename Call>
bool SoundDevice::Impl::visitSink(Lock& lock, Call const& call)
{
    m_inSink = true;
    lock.unlock();
    std::string error;
    const bool good = guardedSinkCall(error, [&] { return call(error); });
    lock.lock();
    m_inSink = false;
    m_outside.notify_all();
    if (!good)
        fail(error);
    return good;
}

}} // namespace avr::host
