#pragma once

#include "decoder/IDecoder.h"
#include "decoder/IDecoderCallback.h"
#include "platform/IReadableStream.h"
#include "platform/SoundDeviceThread.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/thread.hpp>

#include <atomic>
#include <utility>

namespace Avr { namespace Decoder {

/// The engine of every decoder: the state machine, the decoding thread, the pause handshake, the
/// shutdown and the end-of-track handshake with the sound output. A decoder derives from it,
/// implements the hooks and forwards its IDecoder operations (EngineDecoder does that).
///
/// No lock of the engine is held around the player's callbacks, the stream or a hook.
/// The final class calls Close in its destructor, so that its hooks outlive the decoding thread.
class DecoderImple {
public:
    using Stream = Avr::Interface::IReadableStream;
    using StreamPtr = boost::shared_ptr<Stream>;
    using Callback = kiv::appli::IDecoderCallback;
    using TimeSpec = kiv::appli::TimeSpec;
    using tWAVEFORMAT = kiv::appli::tWAVEFORMAT;

    DecoderImple();
    virtual ~DecoderImple();
    DecoderImple(DecoderImple const&) = delete;
    DecoderImple& operator=(DecoderImple const&) = delete;

    // For the player, through IDecoder; any thread. DecoderImple.cpp.
    int Open(StreamPtr const& stream, Callback* callback);
    int Start();
    int Resume();
    int Pause();
    int Close();
    int GetCurrentState() const { return m_state; }
    int GetWaveFormat(tWAVEFORMAT& format) const;

    // For the play loops; decoding thread. DecoderThread.cpp, EndOfTrack.cpp.

    /// Between blocks: waits while the state is Paused. Always 0.
    /// Throws boost::thread_interrupted when the run is to end meanwhile.
    int PauseCheck();
    /// Throws boost::thread_interrupted when the run is to end; else 0.
    int InterruptionPoint();
    /// One poll of the end-of-track handshake: 0 = no end mark, decode on; -10101 = played out (the
    /// state is now EndOfStream); 1 = still playing, call again (after a 20 ms sleep).
    int eofCommonProcess();
    /// Before a play loop returns because its input has ended or failed.
    /// @return false when a seek came since that was read: play on. From true on seeks are refused
    bool endsHere();
    enum class Pass {
        Decode,    ///< decode the next block
        PlayedOut, ///< the track has been heard to its end
        Stopped    ///< the run is to end
    };
    /// The head of a play loop: waits out the end of the track.
    Pass nextPass();
    /// Hands a block to the player, without a lock, and never between a seek and its event 10; a
    /// block that a seek overtook is dropped.
    /// @return OnSample's result; -10002 for a null buffer or callback, or when closing
    int SendOnSample(const void* pcm, unsigned int bytes, TimeSpec* duration);
    /// The same for what a play loop still has when it is stopped: also while a Close waits for it,
    /// though not after a Close inside a callback.
    int SendRest(const void* pcm, unsigned int bytes, TimeSpec* duration);

    // For decoders; any thread.

    int InterruptRequested() const { return m_interruptRequested; }
    int IsDecoding() const { return !isClosing() && !m_interruptRequested; }
    /// Asks the decoding thread to end.
    int Interrunpt();
    /// The same, according to a play loop's result: at the end of data (-10101) it only puts the
    /// end mark, until the sound device has completed; other failures set the state Error. Before
    /// event 4 an end of data changes nothing; without a run nothing does.
    int Interrunpt(long result);
    /// What a play loop returns after an interruption: -10101 in EndOfStream, else -10002.
    int interruptedResult() const;
    bool GetEofMarkFromSoundDevice() { return soundDevice().getEofMark(); }
    void PutEofMarkToSoundDevice() { soundDevice().putEofMark(true); }
    bool isPlaybackCompletedFromSoundDevice() { return soundDevice().isPlaybackCompleted(); }
    /// Replaces the stored stream; null changes nothing.
    void ResetStream(StreamPtr const& stream);
    StreamPtr currentStream() const;
    bool hasCallback() const;
    /// Sends one event, unless a Close is in progress or there is no callback.
    void SendEvent(int event, void* data = nullptr, unsigned int size = 0);
    /// Sends event 10: a seek has moved the position.
    void SendPosition(TimeSpec position)
    {
        SendEvent(kiv::appli::EventPosition, &position, sizeof position);
    }

    /// Held around every read and seek of the input, never around a callback.
    boost::recursive_mutex& decoderLock() { return m_decoderLock; }
    // Repositioning, with the decoder lock held. A block that was read before the last move belongs
    // to the old position: it is begun anew, or dropped when it is delivered too late.

    /// The input was repositioned, within a SeekScope or openHook.
    void repositioned() { ++m_repositions; }
    /// Before each read for a block: whether the input was repositioned since the last one.
    bool newPosition() { return std::exchange(m_readPosition, m_repositions) != m_repositions; }
    /// Whether it was not.
    bool isAtReadPosition() const { return m_readPosition == m_repositions; }

    /// Whether an interruption may be thrown on: the decoding thread, before the run's end.
    bool mayBeInterrupted() const;

    /// While a run is being opened, waits for the outcome and for event 2; not on the decoding
    /// thread.
    void waitForOpen();

    /// Waits until the run has ended by itself; not on the decoding thread, nor inside a callback.
    void waitForEnd();

    /// A seek in progress: the run cannot end, and no block is delivered, while it lives.
    class SeekScope {
    public:
        explicit SeekScope(DecoderImple& engine) : m_engine(engine), m_begun(engine.beginSeek()) {}
        ~SeekScope()
        {
            if (m_begun)
                m_engine.endSeek();
        }
        SeekScope(SeekScope const&) = delete;
        SeekScope& operator=(SeekScope const&) = delete;
        /// False before event 2 and once the run is ending: the seek must be refused.
        explicit operator bool() const { return m_begun; }

    private:
        DecoderImple& m_engine;
        bool const m_begun;
    };

protected:
    // The hooks. They run on the decoding thread, once per run, in the order open, play, close.

    /// The play loop. @return -10101 at the end of the input, a negative error, or 0
    virtual int playThread() { return 0; }
    /// Never called by the engine.
    virtual int preThreadStarting() { return 0; }
    /// Reads the format of the opened stream and fills m_streamInfo (zero on entry).
    /// @return negative when the format cannot be read
    virtual int openHook(StreamPtr) { return 0; }
    /// Releases codec state; the stream is closed, no seek is running.
    virtual void closeHook() {}
    /// Installs a run's defaults: caller's thread, within Open, while no run is alive.
    virtual void prepareRun() {}

    boost::mutex& stateLock() const { return m_stateLock; }

    /// Sent with event 2. Decoding thread only.
    kiv::appli::DecoderStreamInfo m_streamInfo{};

private:
    /// How far the run is; the state that the player sees says less.
    enum class Phase { Idle, Opening, Announced, Playing, Ending };

    // The caller's half.
    void closeRun();
    void closeFromWithin();
    void closeStream(const char* what);
    void joinRun(boost::thread& thread);
    bool isRunAlive() const;
    int startRun(StreamPtr const& stream, Callback* callback);
    void interruptRun();
    bool beginSeek();
    void endSeek();

    // The thread's half.
    void PrecessThread();
    int PreDecoding();
    bool openStream(Stream& stream);
    int openFailed(Stream& stream);
    int waitForStart();
    void enterDecoding();
    int handOver(Callback* callback, const void* pcm, unsigned int bytes, TimeSpec* duration);
    void PostDecoding(long result);
    void SetCloseState();
    void setState(int state);

    // The end-of-track handshake.
    void endOfData();
    bool decideEndOfStream();
    void waitForDevice();
    Avr::Player::soundDeviceThread& soundDevice();

    bool isClosing() const { return m_closeInProgress || m_closedFromWithin; }

    /// Serialises Open and Close among callers; taken before every other lock.
    boost::mutex m_openCloseLock;
    /// Guards what follows; held for a few instructions, never while calling out.
    mutable boost::mutex m_stateLock;
    /// Start, Resume, Close and the end of a seek wake it. With m_stateLock.
    boost::condition_variable m_wake;
    boost::thread m_thread;          // guarded by m_stateLock
    StreamPtr m_stream;              // guarded by m_stateLock
    Callback* m_callback = nullptr;  // guarded by m_stateLock
    tWAVEFORMAT m_waveFormat{};      // guarded by m_stateLock
    Phase m_phase = Phase::Idle;     // guarded by m_stateLock
    bool m_infoSent = false;         // event 2 has returned; guarded by m_stateLock
    bool m_pausePending = false;     // guarded by m_stateLock
    unsigned int m_seeksRunning = 0; // guarded by m_stateLock
    unsigned int m_seeksBegun = 0;   // guarded by m_stateLock
    int m_streamCapabilities = 0;    // guarded by m_stateLock
    // Written under m_stateLock, read by anyone.
    std::atomic<int> m_state{kiv::appli::DecoderStateBase::Closed};
    std::atomic<bool> m_closeInProgress{false};  ///< a Close on a caller's thread
    std::atomic<bool> m_closedFromWithin{false}; ///< a Close inside a callback, until event 1
    std::atomic<bool> m_interruptRequested{false};
    std::atomic<Avr::Player::soundDeviceThread*> m_soundDevice{nullptr};

    boost::recursive_mutex m_decoderLock;
    // Both guarded by m_decoderLock. The first changes only during a seek, the second on the
    // decoding thread, which may therefore compare them while no seek is running.
    unsigned int m_repositions = 0;
    unsigned int m_readPosition = 0; ///< m_repositions as of the last read
};

}} // namespace Avr::Decoder
