#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace avr { namespace test {

using Words = std::vector<std::string>;

/// What a run of avrplay left. Exit -1: it was killed by a signal, or by us after the deadline.
struct Outcome {
    int exit = -1;
    std::string out;
    std::string err;
    bool terminalNormal = false; ///< line editing and echo were on again, when it had a terminal
};

/// One avrplay with its standard input empty, or with a terminal for all three.
class PlayerProcess {
public:
    /// @param columns  of its terminal; 0: none
    explicit PlayerProcess(Words const& arguments, unsigned short columns = 0);
    ~PlayerProcess();
    PlayerProcess(PlayerProcess const&) = delete;
    PlayerProcess& operator=(PlayerProcess const&) = delete;

    /// Reads until the condition holds. @return false after a minute
    template <typename Condition>
    bool until(Condition const& condition)
    {
        auto const end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!condition() && std::chrono::steady_clock::now() < end)
            readSome(20);
        return condition();
    }
    /// Until this has been printed on standard error or the terminal since the last such call.
    bool waitFor(std::string const& text);
    /// Until a stop signal has stopped it.
    bool waitForStop();
    void type(std::string const& keys);
    void signal(int number);
    /// Line editing and echo are on.
    bool terminalIsNormal() const;
    /// What came after that which was waited for.
    std::string rest() const { return m_errText.substr(m_seen); }
    /// Waits for the end.
    Outcome finish();

private:
    bool readSome(int milliseconds);

    pid_t m_pid = -1;
    int m_out = -1;
    int m_err = -1; ///< standard error, or the terminal
    std::string m_outText;
    std::string m_errText;
    std::size_t m_seen = 0;
};

/// Runs it to its end.
Outcome play(Words const& arguments);

/// In a directory of the test program's own, empty at first.
std::string testFile(std::string const& name);
std::string writeFile(std::string const& name, std::string const& bytes);
std::string readFile(std::string const& path);

/// Deterministic, without a period that a shifted copy could hide in.
std::string noise(std::size_t bytes);
std::string littleEndian(unsigned long value, int bytes);

/// A WAVE file of integer PCM.
struct Wave {
    unsigned tag = 1;
    unsigned rate = 44100;
    unsigned channels = 2;
    unsigned bits = 16;
    std::string pcm;

    std::string bytes() const;
};

/// The audio of a file with a 44-byte header, after a look at all its sizes.
std::string audioOf(std::string const& wavFile);

}} // namespace avr::test
