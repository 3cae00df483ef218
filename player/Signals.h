#pragma once

#include "Wakeup.h"

namespace avr { namespace player {

/// Turns the signals that end the program, and the one that says it goes on after a stop, into
/// something that the main loop sees. One object per process.
class Signals {
public:
    /// Leaves alone what the caller of the program has set to be ignored (nohup).
    explicit Signals(Wakeup const& wakeup);
    ~Signals();
    Signals(Signals const&) = delete;
    Signals& operator=(Signals const&) = delete;

    /// SIGINT, SIGTERM or SIGHUP has come.
    bool interrupted() const;
    /// The process was stopped and goes on; true once for each time.
    bool continued() const;
};

}} // namespace avr::player
