#pragma once

namespace avr { namespace player {

/// The terminal without line editing and echo, so that single keys arrive. The terminal is as it
/// was on every way out: the destructor, a stop (Ctrl-Z) and a crash. One object per process.
class TerminalMode {
public:
    /// Does nothing when standard input is no terminal.
    /// @param inputIsSound  then the keys come from the terminal that the program was started on
    explicit TerminalMode(bool inputIsSound);
    ~TerminalMode();
    TerminalMode(TerminalMode const&) = delete;
    TerminalMode& operator=(TerminalMode const&) = delete;

    /// Where keys arrive; -1 while they do not: in the background a read would stop the program.
    int descriptor() const;
    /// Puts the terminal back; may be called in signal handlers.
    static void restore();
    /// After the program was stopped and goes on.
    void enterAgain();
};

}} // namespace avr::player
