#pragma once

#include "NetworkWatch.h"
#include "Stage.h"
#include "Track.h"
#include "Watchdog.h"

#include <optional>
#include <string>

namespace avr { namespace player {

/// Plays one track: the main loop from Open to the end of its run.
class Session {
public:
    Session(Source const& source, Stage const& stage);

    TrackEnd run();

private:
    int waitMilliseconds() const;
    void takeKeys();
    void onKey(Key key);
    void onNews();
    void begin();
    void announce();
    void seekBy(double seconds);
    void onNetwork();
    void takeTitles();
    void watch();
    bool isHeard() const;
    void showStatus();
    bool playedOut();
    void conclude();
    bool canBePositioned() const;
    std::string whyNotPositioned() const;
    std::string const& title() const;
    std::string fault() const;
    void fail(std::string const& reason);

    Source const& m_source;
    Stage const& m_stage;
    Track m_track;
    NetworkWatch m_network;
    std::string m_radioTitle;
    Watchdog m_watchdog;
    unsigned long long m_heard = 0;                  ///< bytes that the output has taken
    std::chrono::steady_clock::time_point m_heardAt; ///< when the output took some
    TrackNews m_news;
    std::optional<TrackEnd> m_end;
    bool m_started = false;
    bool m_announced = false;
    bool m_paused = false;
    bool m_saidWhyNot = false; ///< it cannot be positioned
};

}} // namespace avr::player
