#pragma once

#include "ISoundSink.h"
#include "decoder/Export.h"
#include "platform/SoundDeviceThread.h"

#include <memory>

namespace avr { namespace host {

/// The host's sound output: a bounded PCM queue and one thread in front of a sink.
///
/// The player's order for one track: beginRun inside OnEvent(2); put inside OnSample; discard
/// inside OnEvent(10); after event 6 (or once nothing more will come) putEofMark(true), then wait
/// for isPlaybackCompleted before stop, discard or the next beginRun. Only stop and discard drop
/// PCM. Every operation may be called from any thread.
class AVR_API SoundDevice final : public Avr::Player::soundDeviceThread {
public:
    /// The one that soundDeviceThread::getInstance() gives.
    static SoundDevice& instance();

    SoundDevice();
    ~SoundDevice();
    SoundDevice(SoundDevice const&) = delete;
    SoundDevice& operator=(SoundDevice const&) = delete;

    /// Replaces the sink; the previous one is stopped, closed and destroyed.
    void setSink(std::unique_ptr<ISoundSink> sink);

    /// Prepares for a track: opens the sink for the format, empties the queue, clears mark, pause
    /// and failure. @return false, with one line in `error`, when the sink refuses
    bool beginRun(PcmFormat const& format, std::string& error);

    /// Queues a copy of one block. Waits while the queue is at its limit (a Boost interruption
    /// point); takes a whole block, of any size, whenever it is below. A block that waits while
    /// discard or stop comes is dropped.
    /// @return 0; negative when stopped, when no run was begun or when the sink has failed
    int put(const void* pcm, std::size_t bytes);

    void putEofMark(bool mark) override;
    bool getEofMark() override;
    bool isPlaybackCompleted() override;

    void pause(bool paused);
    /// Drops everything queued and clears the end mark in one step (a seek).
    void discard();
    /// Drops everything queued, wakes every put and lets further ones fail until beginRun.
    void stop();
    /// Ends the output: stops, closes the sink (files are complete afterwards) and drops it.
    /// @return false, with one line in `error`, when something could not be stored
    bool closeSink(std::string& error);

    /// Bytes that the sink has taken in this run.
    unsigned long long bytesTaken() const;
    /// One line when the sink has failed in this run, else empty.
    std::string failure() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}} // namespace avr::host
