// The caller's half of the engine: what the player's threads call.
#include "DecoderImple.h"

#include "Deadlines.h"
#include "Log.h"
#include "ThreadPlace.h"

#include <boost/thread/lock_guard.hpp>

namespace Avr { namespace Decoder {

using namespace kiv::appli;
using Lock = boost::unique_lock<boost::mutex>;
using State = DecoderStateBase;

DecoderImple::DecoderImple() = default;

DecoderImple::~DecoderImple() { Close(); }

int DecoderImple::Open(StreamPtr const& stream, Callback* callback)
{
    logLine("[DecoderImple::Open()] called.");
    // Either would have to wait for itself.
    if (ThreadPlace::isAt(*this, ThreadPlace::Kind::DecodingThread) ||
        ThreadPlace::isAt(*this, ThreadPlace::Kind::Callback))
        return ErrorFailed;

    boost::lock_guard<boost::mutex> serial(m_openCloseLock);
    if (isRunAlive()) {
        logLine("[DecoderImple::Open()] Open command must be called in 'Closed' state.");
        closeRun();
    }
    {
        Lock lock(m_stateLock);
        m_waveFormat = tWAVEFORMAT();
        m_streamInfo = DecoderStreamInfo();
    }
    prepareRun();
    if (!stream)
        return ErrorFailed;
    logLine("[DecoderImple::Open()] start thread.");
    int const result = startRun(stream, callback);
    logLine("[DecoderImple::Open()] finished.");
    return result;
}

bool DecoderImple::isRunAlive() const
{
    Lock lock(m_stateLock);
    return m_state != State::Closed || m_thread.joinable();
}

int DecoderImple::startRun(StreamPtr const& stream, Callback* callback)
{
    logLine("[DecoderImple::Open()] make thread.");
    try {
        boost::thread::attributes attributes;
        if (deadlines().threadStackBytes != 0)
            attributes.set_stack_size(deadlines().threadStackBytes);

        // The new thread waits for this lock before it looks at the run.
        Lock lock(m_stateLock);
        m_interruptRequested = false;
        m_thread = boost::thread(attributes, [this] { PrecessThread(); });
        m_stream = stream;
        m_callback = callback;
        m_pausePending = false;
        m_infoSent = false;
        m_phase = Phase::Opening;
        m_state = State::PreDecoding;
        return Ok;
    } catch (...) { // no thread to be had
        return ErrorFailed;
    }
}

int DecoderImple::Start()
{
    logLine("[DecoderImple::Start()] called.");
    Lock lock(m_stateLock);
    if (m_phase != Phase::Announced || m_state != State::PreDecoding || isClosing())
        return ErrorInvalidState;
    m_state = State::StartRequested;
    m_wake.notify_all();
    return Ok;
}

int DecoderImple::Pause()
{
    logLine("[DecoderImple::pause()]");
    Lock lock(m_stateLock);
    switch (m_state) {
    case State::StartRequested:
        m_pausePending = true;
        return Ok;
    case State::Decoding:
        m_state = State::Paused;
        return Ok;
    case State::Paused:
        return Ok;
    default:
        return ErrorFailed;
    }
}

int DecoderImple::Resume()
{
    Lock lock(m_stateLock);
    m_pausePending = false;
    if (m_state == State::Paused) {
        m_state = State::Decoding;
        m_wake.notify_all();
    }
    return Ok;
}

int DecoderImple::Close()
{
    // From inside a run nobody can wait for it.
    if (ThreadPlace::isAt(*this, ThreadPlace::Kind::DecodingThread) ||
        ThreadPlace::isAt(*this, ThreadPlace::Kind::Callback)) {
        closeFromWithin();
    } else {
        boost::lock_guard<boost::mutex> serial(m_openCloseLock);
        closeRun();
    }
    return Ok;
}

void DecoderImple::closeFromWithin()
{
    logLine("[DecoderImple::Close()] called");
    {
        Lock lock(m_stateLock);
        // A decoder that gives up inside openHook still reports why: events 11 or 12, then 1.
        bool const byDecoderItself =
            m_phase == Phase::Opening && !ThreadPlace::isAt(*this, ThreadPlace::Kind::Callback);
        if (!byDecoderItself && m_phase != Phase::Idle)
            m_closedFromWithin = true;
        // Inside a seek's callback: the decoding thread may wait anywhere, in OnSample too.
        if (!ThreadPlace::isAt(*this, ThreadPlace::Kind::DecodingThread))
            m_thread.interrupt();
        m_wake.notify_all();
    }
    closeStream("close stream");
    logLine("[DecoderImple::Close()] end !!");
}

/// Runs on a caller's thread, with m_openCloseLock held.
void DecoderImple::closeRun()
{
    boost::this_thread::disable_interruption whole; // the join must not be left half-way
    logLine("[DecoderImple::Close()] called");
    {
        Lock lock(m_stateLock);
        m_closeInProgress = true;
    }
    closeStream("close stream");
    boost::thread ending;
    {
        Lock lock(m_stateLock);
        m_interruptRequested = true;
        m_thread.interrupt();
        m_wake.notify_all();
        ending = boost::move(m_thread);
    }
    if (ending.joinable())
        joinRun(ending);
    logLine("[DecoderImple::Close()] playing thread has ended");
    {
        Lock lock(m_stateLock);
        m_closeInProgress = false;
    }
    logLine("[DecoderImple::Close()] end !!");
}

/// Closes the stream and interrupts the thread again and again until it has ended: it may have been
/// about to open or to read, and a callback may have swallowed an interruption.
void DecoderImple::joinRun(boost::thread& thread)
{
    using Clock = boost::chrono::steady_clock;
    using boost::chrono::milliseconds;
    milliseconds const again(deadlines().closeAgain.count());
    milliseconds const report(deadlines().joinReport.count());

    logLine("[DecoderImple::Close()] try to join!!");
    Clock::time_point nextReport = Clock::now() + report;
    while (!thread.try_join_for(again)) {
        thread.interrupt();
        if (Clock::now() < nextReport) {
            closeStream(nullptr);
            continue;
        }
        logLine("[DecoderImple::Close()] join timeouted.");
        closeStream("close stream again");
        logLine("[DecoderImple::Close()] try to join again");
        nextReport = Clock::now() + report;
    }
}

/// @param what  the log line's text, null for a silent repetition
void DecoderImple::closeStream(const char* what)
{
    StreamPtr const stream = currentStream();
    if (!stream)
        return;
    if (what != nullptr)
        logLine(std::string("[DecoderImple::Close()] ") + what);
    try {
        stream->Close();
    } catch (...) { // a stream that fails to close is closed
    }
    if (what != nullptr)
        logLine("[DecoderImple::Close()] closed");
}

int DecoderImple::GetWaveFormat(tWAVEFORMAT& format) const
{
    Lock lock(m_stateLock);
    format = m_waveFormat;
    return Ok;
}

int DecoderImple::Interrunpt()
{
    Lock lock(m_stateLock);
    interruptRun();
    return Ok;
}

/// With m_stateLock held.
void DecoderImple::interruptRun()
{
    if (m_phase == Phase::Idle || m_phase == Phase::Ending)
        return;
    m_interruptRequested = true;
    m_thread.interrupt();
}

void DecoderImple::ResetStream(StreamPtr const& stream)
{
    if (!stream)
        return;
    StreamPtr previous = stream; // released after the lock
    Lock lock(m_stateLock);
    m_stream.swap(previous);
}

DecoderImple::StreamPtr DecoderImple::currentStream() const
{
    Lock lock(m_stateLock);
    return m_stream;
}

bool DecoderImple::hasCallback() const
{
    Lock lock(m_stateLock);
    return m_callback != nullptr;
}

void DecoderImple::waitForOpen()
{
    if (ThreadPlace::isAt(*this, ThreadPlace::Kind::DecodingThread))
        return;
    boost::this_thread::disable_interruption whole;
    Lock lock(m_stateLock);
    while ((m_phase == Phase::Opening || (m_phase == Phase::Announced && !m_infoSent)) &&
           !isClosing())
        m_wake.wait(lock);
}

void DecoderImple::waitForEnd()
{
    boost::this_thread::disable_interruption whole;
    Lock lock(m_stateLock);
    while (m_phase != Phase::Idle)
        m_wake.wait(lock);
}

bool DecoderImple::beginSeek()
{
    Lock lock(m_stateLock);
    bool const playing = m_phase == Phase::Announced || m_phase == Phase::Playing;
    if (!playing || isClosing() || m_state == State::EndOfStream || m_state == State::Error)
        return false;
    ++m_seeksRunning;
    ++m_seeksBegun;
    return true;
}

void DecoderImple::endSeek()
{
    Lock lock(m_stateLock);
    --m_seeksRunning;
    m_wake.notify_all();
}

}} // namespace Avr::Decoder
