#pragma once

#include "EventLog.h"
#include "PlayClock.h"
#include "Seeker.h"
#include "Source.h"
#include "TrackInfo.h"
#include "Wakeup.h"

#include "decoder/IDecoderCallback.h"
#include "sound/SoundDevice.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace avr { namespace player {

/// What a run has reported so far.
struct TrackNews {
    bool opened = false;     ///< event 2: info is set, and the output ready unless `error` says no
    bool decodedAll = false; ///< event 6; the output may still have to play it
    bool closed = false;     ///< event 1
    bool startRefused = false; ///< the position given to start() cannot be reached; nothing plays
    int failure = 0;           ///< event 0, 11 or 12
    bool starved = false;      ///< the decoder ended the run while the network was waited for long
    int bufferFill = -1;       ///< percent; -1: never told
    std::string error;         ///< the player itself cannot go on, one line
    std::string title;         ///< "artist - title" found in the stream
    TrackInfo info;
};

/// One run of one decoder. The callback's half, on the decoding thread, prepares the output, hands
/// the PCM on and notes what happened; it wakes the main loop, which does everything else.
class Track final : private kiv::appli::IDecoderCallback {
public:
    /// @param device  null: the format is all that is wanted, nothing will be played
    /// @param log     null: no event log
    Track(Source const& source, host::SoundDevice* device, EventLog* log, Wakeup const& wakeup);
    /// Closes, and so outlives the run.
    ~Track() override;
    Track(Track const&) = delete;
    Track& operator=(Track const&) = delete;

    bool open();
    /// After event 2. The news tell when the position cannot be reached.
    void start(kiv::appli::TimeSpec const& position);
    /// Begins a seek, or puts it behind the one in progress; nothing where that cannot be.
    void seek(kiv::appli::TimeSpec const& position);
    void pause(bool paused);
    /// Ends a seek in progress, too.
    void close();

    TrackNews news() const;
    /// Seconds from the beginning of the track to what the output takes now, or to where a seek
    /// that is not done yet will be.
    double elapsed() const;
    /// What a radio station calls the sound that has been heard since the last title; the last one
    /// is that of what is heard now.
    std::optional<std::string> newTitle();
    /// How many the decoder has sent.
    unsigned int events() const { return m_events; }
    unsigned long long bytesDelivered() const { return m_clock.bytesDelivered(); }

private:
    int OnSample(const void* pcm, unsigned int bytes, kiv::appli::TimeSpec* duration) override;
    int OnEvent(int event, void* data, unsigned int size) override;
    void dropQueue(kiv::appli::TimeSpec const& position);
    void noteTitle();
    void onOpened(kiv::appli::DecoderStreamInfo const& info);
    void note(int event, const void* data);
    bool setHeaderlessFormat();
    TrackInfo describe(kiv::appli::DecoderStreamInfo const& info, std::string& error) const;
    void describeAac(TrackInfo& info) const;
    std::string prepareOutput(TrackInfo const& info);
    const void* fullScale(const void* pcm, unsigned int bytes);
    bool canReach(kiv::appli::TimeSpec const& position) const;
    bool moveTo(kiv::appli::TimeSpec const& position);
    void makeSeek(kiv::appli::TimeSpec const& position);
    void refuseStart();

    Source const& m_source;
    host::SoundDevice* const m_device;
    EventLog* const m_log;
    Wakeup const& m_wakeup;
    PlayClock m_clock;
    unsigned int m_shift = 0;                   ///< of the samples; decoding thread
    std::vector<std::uint32_t> m_scaled;        ///< a shifted block; decoding thread
    kiv::appli::TimeSpec m_firstPosition{0, 0}; ///< set before m_seekFirst
    std::atomic<bool> m_seekFirst{false}; ///< the first block is still to be replaced by a seek
    bool m_startAfterSeek = false;        ///< set before the first seek, then the seeking thread's
    std::atomic<unsigned int> m_events{0};
    mutable std::mutex m_lock; ///< guards m_news, m_titles
    TrackNews m_news;
    struct Title {
        std::string text;
        unsigned long long from; ///< byte of the PCM
    };
    std::deque<Title> m_titles; ///< decoded, and not heard yet; guarded by m_lock
    Seeker m_seeker;            ///< last: its thread uses the others
};

}} // namespace avr::player
