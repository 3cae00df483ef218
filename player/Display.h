#pragma once

#include "Track.h"

#include <chrono>
#include <string>

namespace avr { namespace player {

/// What the status line shows.
struct Status {
    enum class State { Connecting, Opening, Playing, Waiting, Reconnecting, Paused };

    State state = State::Opening;
    double elapsed = 0; ///< seconds
    int bufferFill = -1;
    TrackInfo info;
    std::string title;
};

/// The status line in so many columns; one narrower than the terminal cannot wrap.
std::string statusText(Status const& status, std::size_t columns);

/// Everything that avrplay says while it plays. Main loop only.
class Display {
public:
    enum class Style {
        Errors, ///< nothing else
        Lines,  ///< one plain line per track
        Live    ///< and a status line that is written over: for a terminal
    };
    /// How often the status line changes.
    static constexpr std::chrono::milliseconds Refresh{250};

    Display(int descriptor, Style style) : m_descriptor(descriptor), m_style(style) {}
    Display(Display const&) = delete;
    Display& operator=(Display const&) = delete;
    ~Display() { clearStatus(); }

    void error(std::string const& line);
    /// Kept until there is a track to be said before.
    void notice(std::string const& text) { m_notice = text; }
    void track(std::string const& path, TrackInfo const& info);
    /// An answer to what the listener did.
    void remark(std::string const& text);
    /// Something that the status line shows, too; where there is none it is said.
    void event(std::string const& text);
    /// Draws when something changed, and no more often than Refresh but for a change of state.
    void status(Status const& status);
    void clearStatus();
    /// A change waits for its time to be drawn.
    bool late() const { return m_late; }
    bool live() const { return m_style == Style::Live; }

private:
    void line(std::string const& text);
    bool isInBackground() const;
    std::size_t columns() const;

    int const m_descriptor;
    Style const m_style;
    std::string m_notice;
    std::string m_shown; ///< the status line on the terminal; empty: none
    bool m_late = false;
    Status::State m_shownState = Status::State::Opening;
    std::chrono::steady_clock::time_point m_shownAt;
};

}} // namespace avr::player
