// The thread's half of the engine: what runs on the decoding thread.
#include "DecoderImple.h"

#include "Deadlines.h"
#include "Log.h"
#include "ThreadPlace.h"

#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace Avr { namespace Decoder {

using namespace kiv::appli;
using Lock = boost::unique_lock<boost::mutex>;
using State = DecoderStateBase;

namespace {

/// Keeps PCM production ahead of the sound device. Needs privileges; the log shows the outcome.
void raisePriority()
{
    setpriority(PRIO_PROCESS, 0, -18);
    logLine("[DecoderImple][set_high_priority] prio=" +
            std::to_string(getpriority(PRIO_PROCESS, 0)));
}

} // namespace

void DecoderImple::PrecessThread()
{
    ThreadPlace place(*this, ThreadPlace::Kind::DecodingThread);
    soundDevice();
    logLine("[DecoderImple::PrecessThread()] called");
    long result = 0;
    try {
        result = PreDecoding();
        if (result >= 0)
            result = playThread();
    } catch (...) {
        logLine("[DecoderImple::PrecessThread()] catched any exception");
        // The interruption that follows the decided end of a track is no failure.
        if (m_state == State::EndOfStream)
            result = ResultEndOfStream;
    }
    boost::this_thread::disable_interruption whole;
    PostDecoding(result);
    logLine("[DecoderImple::PrecessThread()] end");
}

int DecoderImple::PreDecoding()
{
    logLine("[DecoderImple::PreDecoding()] pid=" + std::to_string(getpid()));
    StreamPtr stream = currentStream();
    InterruptionPoint();
    if (!stream || !openStream(*stream)) {
        setState(State::Error);
        return ErrorFailed;
    }
    InterruptionPoint();
    stream = currentStream();

    logLine("[DecoderImple::PreDecoding()] try to call openHook");
    m_streamInfo = DecoderStreamInfo();
    if (openHook(stream) < 0)
        return openFailed(*stream);
    InterruptionPoint();
    {
        Lock lock(m_stateLock);
        m_waveFormat = m_streamInfo.format;
        m_state = State::PreDecoding;
        m_phase = Phase::Announced;
    }
    DecoderStreamInfo info = m_streamInfo;
    SendEvent(EventStreamInfo, &info, sizeof info);
    {
        Lock lock(m_stateLock);
        m_infoSent = true;
        m_wake.notify_all();
    }
    InterruptionPoint();
    return waitForStart();
}

bool DecoderImple::openStream(Stream& stream)
{
    try {
        if (stream.IsOpened() >= 0)
            return true;
        logLine("[DecoderImple::PreDecoding()] try to open stream");
        if (stream.Open() >= 0) {
            logLine("[DecoderImple::PreDecoding()] stream is opened!!");
            return true;
        }
    } catch (boost::thread_interrupted&) {
        throw;
    } catch (...) { // a stream that throws has failed
    }
    logLine("[DecoderImple::PreDecoding()] Stream->Open() error caused.");
    return false;
}

int DecoderImple::openFailed(Stream& stream)
{
    boost::this_thread::disable_interruption whole;
    int streamError = 1;
    try {
        streamError = stream.GetErrorStatus();
    } catch (...) { // a stream that throws has failed
    }
    setState(streamError == 0 ? State::OpenFailed : State::OpenFailedByStream);
    logLine("[DecoderImple::PreDecode()] Open error caused.");
    return ErrorFailed;
}

int DecoderImple::waitForStart()
{
    Lock lock(m_stateLock);
    try {
        while (m_state == State::PreDecoding && !isClosing())
            m_wake.wait(lock);
    } catch (boost::thread_interrupted&) {
        logLine("[DecoderImple::PreDecoding()] interrupted!!");
        return ResultInterrupted;
    }
    if (m_state != State::StartRequested) {
        logLine("[DecoderImple::PreDecode()] is not PreDecoding. try to close??");
        return ErrorFailed;
    }
    lock.unlock();
    enterDecoding();
    return Ok;
}

void DecoderImple::enterDecoding()
{
    logLine("[DecoderImple::PreDecode()] Start Decoding");
    raisePriority();
    {
        Lock lock(m_stateLock);
        m_state = State::Decoding;
        m_phase = Phase::Playing;
    }
    SendEvent(EventDecoding);
    Lock lock(m_stateLock);
    if (m_pausePending && m_state == State::Decoding)
        m_state = State::Paused;
    m_pausePending = false;
}

int DecoderImple::PauseCheck()
{
    if (m_state != State::Paused)
        return Ok;
    while (m_state == State::Paused && !isClosing()) {
        SendEvent(EventPaused);
        auto const reportAgain = boost::chrono::steady_clock::now() +
                                 boost::chrono::milliseconds(deadlines().pauseReport.count());
        Lock lock(m_stateLock);
        while (m_state == State::Paused && !isClosing()) {
            if (m_wake.wait_until(lock, reportAgain) == boost::cv_status::timeout)
                break;
        }
    }
    InterruptionPoint();
    if (m_state == State::Decoding)
        SendEvent(EventDecoding);
    return Ok;
}

int DecoderImple::InterruptionPoint()
{
    boost::this_thread::interruption_point();
    if (isClosing() || m_interruptRequested)
        throw boost::thread_interrupted();
    return Ok;
}

int DecoderImple::SendOnSample(const void* pcm, unsigned int bytes, TimeSpec* duration)
{
    Callback* callback = nullptr;
    {
        Lock lock(m_stateLock);
        while (m_seeksRunning != 0 && !isClosing())
            m_wake.wait(lock);
        if (isClosing())
            return ErrorFailed;
        if (m_readPosition != m_repositions)
            return Ok; // a seek overtook the block: it belongs to the old position
        callback = m_callback;
    }
    return handOver(callback, pcm, bytes, duration);
}

int DecoderImple::SendRest(const void* pcm, unsigned int bytes, TimeSpec* duration)
{
    Callback* callback = nullptr;
    {
        Lock lock(m_stateLock);
        if (m_closedFromWithin || m_readPosition != m_repositions)
            return Ok;
        callback = m_callback;
    }
    return handOver(callback, pcm, bytes, duration);
}

int DecoderImple::handOver(Callback* callback, const void* pcm, unsigned int bytes,
                           TimeSpec* duration)
{
    if (pcm == nullptr || callback == nullptr)
        return ErrorFailed;
    ThreadPlace place(*this, ThreadPlace::Kind::Callback);
    try {
        return callback->OnSample(pcm, bytes, duration);
    } catch (boost::thread_interrupted&) {
        throw;
    } catch (...) {
        return ErrorFailed;
    }
}

void DecoderImple::SendEvent(int event, void* data, unsigned int size)
{
    Callback* callback = nullptr;
    {
        Lock lock(m_stateLock);
        if (isClosing() && event != EventClosed)
            return;
        callback = m_callback;
    }
    if (callback == nullptr)
        return;
    ThreadPlace place(*this, ThreadPlace::Kind::Callback);
    try {
        callback->OnEvent(event, data, size);
    } catch (boost::thread_interrupted&) {
        if (mayBeInterrupted())
            throw;
    } catch (...) { // the player's own trouble
    }
}

/// An interruption passes through a run, not out of a player's call and not through a run's end.
bool DecoderImple::mayBeInterrupted() const
{
    return ThreadPlace::isAt(*this, ThreadPlace::Kind::DecodingThread) &&
           boost::this_thread::interruption_enabled();
}

void DecoderImple::setState(int state)
{
    Lock lock(m_stateLock);
    m_state = state;
}

void DecoderImple::PostDecoding(long result)
{
    logLine("[DecoderImple::PostDecoding()] called");
    int event = EventRunFailed;
    {
        Lock lock(m_stateLock);
        m_phase = Phase::Ending;
        m_wake.notify_all();
        if (result == ResultEndOfStream)
            m_state = State::EndOfStream;
        if (result == ResultEndOfStream || m_state == State::OpenFailed ||
            m_state == State::OpenFailedByStream)
            event = m_state;
    }
    if (result != ResultInterrupted)
        SendEvent(event);
    SetCloseState();
    logLine("[DecoderImple::PostDecoding()] end");
}

void DecoderImple::SetCloseState()
{
    logLine("[DecoderImple::SetCloseState()] called");
    setState(State::Closed);
    if (StreamPtr const stream = currentStream()) {
        logLine("[DecoderImple::SetCloseState()] close stream");
        try {
            stream->Close();
        } catch (...) { // a stream that fails to close is closed
        }
        logLine("[DecoderImple::SetCloseState()] closed");
    }
    {
        Lock lock(m_stateLock);
        while (m_seeksRunning != 0)
            m_wake.wait(lock);
    }
    try {
        closeHook();
    } catch (...) { // the run ends all the same
    }
    {
        // Not earlier: Close repeats the stream's Close while closeHook waits for a read to end.
        StreamPtr finished; // released after the lock
        Lock lock(m_stateLock);
        finished.swap(m_stream);
    }
    logLine("[DecoderImple::SetCloseState()] send close event");
    SendEvent(EventClosed);
    logLine("[DecoderImple::SetCloseState()] sended");
    Lock lock(m_stateLock);
    m_callback = nullptr;
    m_closedFromWithin = false;
    m_phase = Phase::Idle;
    m_wake.notify_all();
}

}} // namespace Avr::Decoder
