#pragma once

#include "TempDir.h"

#include <vector>

#include <signal.h>

namespace avr { namespace test {

using Words = std::vector<std::string>;

/// What a run of avrplay left. Exit -1: it was killed by a signal, or by us after the deadline.
struct Outcome {
    int exit = -1;
    std::string out, err;
    bool terminalNormal = false; ///< line editing and echo are on again, if there is one
};

/// One avrplay with its standard input empty, or with a terminal for that and standard error.
class PlayerProcess {
public:
    explicit PlayerProcess(Words const& arguments, bool onTerminal = false);
    ~PlayerProcess();
    PlayerProcess(PlayerProcess const&) = delete;
    PlayerProcess& operator=(PlayerProcess const&) = delete;

    /// Reads until the condition holds. @return false after a minute
    template <typename Condition>
    bool until(Condition const& condition)
    {
        return eventually([&] { return readSome(), condition(); });
    }
    /// Until this has been printed on standard error or the terminal since the last such call.
    bool waitFor(std::string const& text);
    void type(std::string const& keys);
    void signal(int number) { kill(m_pid, number); }
    /// Line editing and echo are on.
    bool terminalIsNormal() const;
    /// Waits for the end.
    Outcome finish();

private:
    bool readSome();

    pid_t m_pid = -1;
    int m_err = -1; ///< standard error, or the terminal
    std::string m_errText;
    std::size_t m_seen = 0;
};

inline Outcome play(Words const& arguments) { return PlayerProcess(arguments).finish(); }

/// In a directory of the test program's own, empty at first.
std::string testFile(std::string const& name);
std::string writeFile(std::string const& name, std::string const& bytes);
/// A WAVE file of integer PCM.
std::string wave(std::string const& pcm, unsigned rate = 44100, unsigned channels = 2,
                 unsigned bits = 16, unsigned tag = 1);
/// The audio of a file with a 44-byte header, after a look at all its sizes.
std::string audioOf(std::string const& wavFile);

}} // namespace avr::test
