#pragma once

#include "ExitCode.h"
#include "Report.h"
#include "Search.h"
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
    /// What is to be played: of the command line, or of a play list.
    struct Entry {
        std::string address;
        std::string title;                   ///< that a list gives it; may be empty
        std::shared_ptr<Entry const> within; ///< the list that names it; null: the command line
    };

    bool openOutput();
    void playAll();
    TrackEnd playEntry(std::size_t entry);
    TrackEnd playSource(Source source, Stage const& stage);
    bool say(Probe const& probe);
    bool expand(std::size_t entry, Found const& found);
    static bool mayHold(std::shared_ptr<Entry const> list, std::string const& address);
    void closeOutput();
    void textLost(int error);
    int exitCode() const;

    Options const& m_options;
    StandardOutputs const& m_outputs;
    Wakeup m_wakeup;
    Signals m_signals;
    Display m_display;
    std::vector<Entry> m_entries;
    std::size_t m_listed = 0;        ///< entries that lists have brought
    std::unique_ptr<Keys> m_keys;    ///< only while playing
    std::unique_ptr<EventLog> m_log; ///< with --events
    bool m_failed = false;
};

}} // namespace avr::player
