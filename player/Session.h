#pragma once

#include "Display.h"
#include "Keys.h"
#include "Signals.h"
#include "Track.h"

#include <optional>
#include <string>

namespace avr { namespace player {

/// What every track is played with. Lives longer than any of them.
struct Stage {
    Options const& options;
    host::SoundDevice& device;
    Display& display;
    Keys& keys;
    Signals& signals;
    Wakeup& wakeup;
    EventLog* log; ///< null: no --events
};

/// How a track ended, or what the listener wants instead of it.
enum class TrackEnd { Played, Failed, OutputLost, Next, Previous, Again, Quit, Interrupted };

/// Plays one track: the main loop from Open to the end of its run.
class Session {
public:
    Session(Source const& source, Stage const& stage);

    TrackEnd run();

private:
    int waitMilliseconds() const;
    void wait();
    void takeSignals();
    void takeKeys();
    void onKey(Key key);
    void onNews();
    void begin();
    void announce();
    void seekBy(double seconds);
    void showStatus();
    bool playedOut();
    void conclude();
    std::string unreachable() const;
    std::string fault() const;
    void fail(std::string const& reason);

    Source const& m_source;
    Stage const& m_stage;
    Track m_track;
    TrackNews m_news;
    std::optional<TrackEnd> m_end;
    bool m_started = false;
    bool m_announced = false;
    bool m_paused = false;
};

}} // namespace avr::player
