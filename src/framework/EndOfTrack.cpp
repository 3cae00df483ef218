// The engine's end-of-track handshake with the sound device.
#include "DecoderImple.h"

#include "Deadlines.h"

namespace Avr { namespace Decoder {

using namespace kiv::appli;
using Lock = boost::unique_lock<boost::mutex>;
using State = DecoderStateBase;

Avr::Player::soundDeviceThread& DecoderImple::soundDevice()
{
    if (m_soundDevice == nullptr)
        m_soundDevice = Avr::Player::soundDeviceThread::getInstance();
    return *m_soundDevice;
}

int DecoderImple::Interrunpt(long result)
{
    if (result == ResultEndOfStream) {
        endOfData();
        return Ok;
    }
    Lock lock(m_stateLock);
    if (result < 0 && m_phase != Phase::Idle && m_phase != Phase::Ending)
        m_state = State::Error;
    interruptRun();
    return Ok;
}

/// Puts the end mark; once the device has completed, ends the run.
void DecoderImple::endOfData()
{
    {
        Lock lock(m_stateLock);
        if (m_phase != Phase::Playing)
            return;
    }
    if (!GetEofMarkFromSoundDevice())
        PutEofMarkToSoundDevice();
    else if (decideEndOfStream())
        Interrunpt();
}

/// Until the device is worth asking again; while paused it cannot complete.
void DecoderImple::waitForDevice()
{
    using boost::chrono::milliseconds;
    Lock lock(m_stateLock);
    auto const now = boost::chrono::steady_clock::now();
    auto const paused = now + milliseconds(deadlines().pausedPoll.count());
    while (m_state == State::Paused && !isClosing()) {
        if (m_wake.wait_until(lock, paused) == boost::cv_status::timeout)
            return;
    }
    lock.unlock();
    boost::this_thread::sleep_until(now + milliseconds(deadlines().endPoll.count()));
}

int DecoderImple::eofCommonProcess()
{
    if (!GetEofMarkFromSoundDevice())
        return 0;
    if (decideEndOfStream())
        return ResultEndOfStream;
    waitForDevice();
    return 1;
}

/// Enters EndOfStream when the sound device has completed, unless a seek came between: it takes
/// the end mark back in its event 10.
bool DecoderImple::decideEndOfStream()
{
    unsigned int seeksBefore = 0;
    {
        Lock lock(m_stateLock);
        seeksBefore = m_seeksBegun;
    }
    if (!isPlaybackCompletedFromSoundDevice())
        return false;
    Lock lock(m_stateLock);
    if (m_seeksRunning != 0 || m_seeksBegun != seeksBefore || m_phase != Phase::Playing)
        return false;
    m_state = State::EndOfStream;
    return true;
}

bool DecoderImple::endsHere()
{
    Lock lock(m_stateLock);
    while (m_seeksRunning != 0 && !isClosing())
        m_wake.wait(lock);
    if (!isClosing() && m_readPosition != m_repositions)
        return false;
    m_phase = Phase::Ending;
    return true;
}

DecoderImple::Pass DecoderImple::nextPass()
{
    while (IsDecoding()) {
        int const end = eofCommonProcess();
        if (end == 0)
            return Pass::Decode;
        if (end == ResultEndOfStream)
            return Pass::PlayedOut;
    }
    return Pass::Stopped;
}

int DecoderImple::interruptedResult() const
{
    return m_state == State::EndOfStream ? ResultEndOfStream : ErrorFailed;
}

}} // namespace Avr::Decoder
