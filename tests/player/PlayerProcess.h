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
    enum class On { Pipes, Terminal };

    explicit PlayerProcess(Words const& arguments, On on = On::Pipes, unsigned short columns = 80);
    ~PlayerProcess();
    PlayerProcess(PlayerProcess const&) = delete;
    PlayerProcess& operator=(PlayerProcess const&) = delete;

    /// Reads until this has been printed since the last such call. @return false after 10 seconds
    bool waitFor(std::string const& text);
    /// Reads for so long.
    void listen(std::chrono::milliseconds time);
    void type(std::string const& keys);
    void signal(int number);
    /// Line editing and echo are on.
    bool terminalIsNormal() const;
    /// Everything printed on the terminal, or on standard error.
    std::string const& screen() const { return m_errText; }
    /// Waits for the end.
    Outcome finish();

private:
    void startOnTerminal(Words const& arguments, unsigned short columns);
    void startOnPipes(Words const& arguments);
    void readSome(std::chrono::milliseconds time);
    bool hasEnded();

    pid_t m_pid = -1;
    int m_out = -1;
    int m_err = -1;      ///< standard error, or the terminal
    int m_terminal = -1; ///< its other end, kept open: its settings outlive the program
    int m_status = 0;
    std::string m_outText;
    std::string m_errText;
    std::size_t m_seen = 0;
};

/// Runs it to its end.
Outcome play(Words const& arguments);

/// A directory of the test's own, empty at first.
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
