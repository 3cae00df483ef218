#pragma once

#include "TerminalMode.h"

#include <optional>
#include <string>

namespace avr { namespace player {

enum class Key { Pause, Back, Forward, Next, Previous, Quit };

/// The keys pressed on a terminal at standard input. Anything else there is left unread: it may
/// belong to the script that runs us.
class Keys {
public:
    /// @param inputIsSound  standard input is what is played: the keys come from its terminal
    explicit Keys(bool inputIsSound) : m_terminal(inputIsSound) {}

    /// What to poll; -1 when there are no keys.
    int descriptor() const { return m_ended ? -1 : m_terminal.descriptor(); }
    /// Takes in what was typed; call it when the descriptor is readable. Never blocks.
    void read();
    /// The next key pressed, if there is one. What one track leaves is the next one's.
    std::optional<Key> next();
    /// After the program was stopped and goes on.
    void goOn() { m_terminal.enterAgain(); }

private:
    TerminalMode m_terminal;
    std::string m_pending; ///< typed and not yet understood: a part of an arrow key's sequence
    bool m_ended = false;  ///< the terminal has gone
};

}} // namespace avr::player
