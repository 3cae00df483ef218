#pragma once

#include "PcmQueue.h"
#include "SoundDevice.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <exception>
#include <string>
#include <thread>

namespace avr { namespace host {

/// Callers' half in SoundDevice.cpp, the thread's half in SoundDeviceRun.cpp.
class SoundDevice::Impl {
public:
    ~Impl();
    bool replaceSink(std::unique_ptr<ISoundSink> sink, std::string& error);
    bool beginRun(PcmFormat const& format, std::string& error);
    int put(const std::uint8_t* pcm, std::size_t bytes);
    void putEofMark(bool mark);
    bool getEofMark();
    bool isPlaybackCompleted();
    void pause(bool paused);
    void discard();
    void stop();
    unsigned long long bytesTaken();
    std::string failure();

private:
    using Lock = boost::unique_lock<boost::mutex>;
    class SinkClaim;
    enum class Step { Wait, Discard, Pause, Write, Finish, AskDrained };

    // Callers, inside a SinkClaim.
    bool startThread(std::string& error);
    bool resetRun(PcmFormat const& format);
    bool openSink(PcmFormat const& format, bool dropHeld, std::string& error);

    // The thread.
    void run();
    Step nextStep() const;
    void perform(Step step, Lock& lock);
    void writeChunk(Lock& lock);
    void applyPause(Lock& lock);
    void discardSink(Lock& lock);
    void finishSink(Lock& lock);
    void askDrained(Lock& lock);
    template <typename Call>
    bool visitSink(Lock& lock, Call const& call);

    // Everyone, with m_lock held.
    void dropQueued();
    void fail(std::string const& error);
    bool running() const { return m_opened && !m_stopped && m_failure.empty(); }
    std::size_t chunkLeft() const { return m_chunk ? m_chunk->size() - m_offset : 0; }
    std::size_t queued() const { return chunkLeft() + m_queue.bytes(); }

    /// Guards everything below except the sink; never held inside the sink.
    boost::mutex m_lock;
    boost::condition_variable m_work;    ///< wakes the thread
    boost::condition_variable m_room;    ///< wakes puts
    boost::condition_variable m_outside; ///< wakes callers that wait for the sink

    std::unique_ptr<ISoundSink> m_sink; ///< belongs to whoever set m_inSink
    bool m_sinkPaused = false;          ///< what the sink was told; belongs to the same
    bool m_inSink = false;
    unsigned m_claims = 0; ///< callers that want the sink; the thread stays out meanwhile

    PcmQueue m_queue;
    PcmQueue::Chunk const* m_chunk = nullptr; ///< what the thread is writing
    std::size_t m_offset = 0;                 ///< how far it has come
    std::size_t m_limit = 0;                  ///< bytes queued from which on puts wait
    unsigned m_runs = 0;                      ///< counts begins and stops
    unsigned m_drops = 0;                     ///< counts whatever emptied the queue

    bool m_opened = false;  ///< the sink was opened for this run
    bool m_stopped = false; ///< until the next run
    bool m_paused = false;
    bool m_mark = false;
    bool m_sinkHolds = false; ///< the sink may hold PCM that was not heard yet
    bool m_dropHeld = false;  ///< the sink must still discard that
    bool m_finished = false;  ///< the sink was told that nothing follows
    bool m_quit = false;
    std::string m_failure; ///< empty while all is well
    unsigned long long m_bytesTaken = 0;
    std::thread m_thread; ///< started inside a SinkClaim
};

/// Runs a call into a sink; one that throws has failed.
template <typename Call>
bool guardedSinkCall(std::string& error, Call const& call)
{
    bool good = false;
    try {
        good = call();
    } catch (std::exception const& exception) {
        error = exception.what();
    } catch (...) {
        error.clear();
    }
    if (!good && error.empty())
        error = "the sound output failed";
    return good;
}

}} // namespace avr::host
