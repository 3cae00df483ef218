#pragma once

#include "ExitCode.h"
#include "Report.h"
#include "Session.h"
#include "StandardOutputs.h"

#include <memory>

namespace avr { namespace player {

/// Plays or probes the files of the command line, one after the other.
class Player {
public:
    Player(Options const& options, StandardOutputs const& outputs);

    /// @return an ExitCode
    int play();
    int probe();

private:
    bool openOutput();
    void playAll();
    TrackEnd playOne(std::string const& path);
    void closeOutput();
    void textLost(int error);
    int exitCode() const;

    Options const& m_options;
    StandardOutputs const& m_outputs;
    Wakeup m_wakeup;
    Signals m_signals;
    Display m_display;
    std::unique_ptr<Keys> m_keys;    ///< only while playing
    std::unique_ptr<EventLog> m_log; ///< with --events
    bool m_failed = false;
};

}} // namespace avr::player
