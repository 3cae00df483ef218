#pragma once

namespace avr { namespace player {

/// Standard input without line editing and echo, so that single keys arrive. The terminal is as it
/// was on every way out: the destructor, a stop (Ctrl-Z) and a crash. One object per process.
class TerminalMode {
public:
    /// Does nothing when standard input is no terminal.
    TerminalMode();
    ~TerminalMode();
    TerminalMode(TerminalMode const&) = delete;
    TerminalMode& operator=(TerminalMode const&) = delete;

    /// True while keys arrive: not while the program is in the background, where a read would
    /// stop it.
    bool active() const;
    /// Puts the terminal back; may be called in signal handlers.
    static void restore();
    /// After the program was stopped and goes on.
    void enterAgain();
};

}} // namespace avr::player
