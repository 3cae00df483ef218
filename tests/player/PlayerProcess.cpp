#include "PlayerProcess.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

namespace avr { namespace test {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kDeadline{30000};
constexpr milliseconds kPatience{10000};

[[noreturn]] void runPlayer(Words const& arguments)
{
    // Whoever runs the tests may have these ignored.
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        ::signal(number, SIG_DFL);
    std::vector<char*> words{const_cast<char*>(AVRPLAY_PATH)};
    for (std::string const& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    execv(AVRPLAY_PATH, words.data());
    _exit(127);
}

void take(int& descriptor, std::string& text)
{
    char bytes[65536];
    ssize_t const n = read(descriptor, bytes, sizeof bytes);
    if (n > 0) {
        text.append(bytes, static_cast<std::size_t>(n));
        return;
    }
    close(descriptor);
    descriptor = -1;
}

} // namespace

PlayerProcess::PlayerProcess(Words const& arguments, On on, unsigned short columns)
{
    if (on == On::Terminal)
        startOnTerminal(arguments, columns);
    else
        startOnPipes(arguments);
}

void PlayerProcess::startOnTerminal(Words const& arguments, unsigned short columns)
{
    winsize const size{24, columns, 0, 0};
    if (openpty(&m_err, &m_terminal, nullptr, nullptr, &size) != 0)
        abort();
    fcntl(m_err, F_SETFD, FD_CLOEXEC);
    m_pid = fork();
    if (m_pid == 0) {
        login_tty(m_terminal);
        runPlayer(arguments);
    }
}

void PlayerProcess::startOnPipes(Words const& arguments)
{
    int out[2], err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
        abort();
    m_pid = fork();
    if (m_pid == 0) {
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        runPlayer(arguments);
    }
    close(out[1]);
    close(err[1]);
    m_out = out[0];
    m_err = err[0];
}

PlayerProcess::~PlayerProcess()
{
    if (m_pid > 0)
        finish();
}

void PlayerProcess::readSome(milliseconds time)
{
    pollfd sources[2] = {{m_out, POLLIN, 0}, {m_err, POLLIN, 0}};
    if (poll(sources, 2, static_cast<int>(time.count())) <= 0)
        return;
    if (sources[0].revents != 0)
        take(m_out, m_outText);
    if (sources[1].revents != 0)
        take(m_err, m_errText);
}

bool PlayerProcess::waitFor(std::string const& text)
{
    auto const end = Clock::now() + kPatience;
    while (Clock::now() < end) {
        std::size_t const at = m_errText.find(text, m_seen);
        if (at != std::string::npos) {
            m_seen = at + text.size();
            return true;
        }
        readSome(milliseconds(50));
    }
    return false;
}

void PlayerProcess::listen(milliseconds time)
{
    for (auto const end = Clock::now() + time; Clock::now() < end;)
        readSome(milliseconds(20));
}

void PlayerProcess::type(std::string const& keys)
{
    EXPECT_EQ(write(m_err, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

void PlayerProcess::signal(int number) { kill(m_pid, number); }

bool PlayerProcess::terminalIsNormal() const
{
    termios settings{};
    return tcgetattr(m_err, &settings) == 0 && (settings.c_lflag & ICANON) != 0 &&
           (settings.c_lflag & ECHO) != 0;
}

/// A terminal that we hold open has no end, so there the program's own counts.
bool PlayerProcess::hasEnded()
{
    if (m_terminal < 0 && (m_out >= 0 || m_err >= 0))
        return false;
    return waitpid(m_pid, &m_status, WNOHANG) == m_pid;
}

Outcome PlayerProcess::finish()
{
    bool ended = false;
    for (auto const end = Clock::now() + kDeadline; !(ended = hasEnded()) && Clock::now() < end;)
        readSome(milliseconds(20));
    if (!ended) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, &m_status, 0);
    }
    readSome(milliseconds(0));
    m_pid = -1;
    bool const normal = m_terminal >= 0 && terminalIsNormal();
    for (int descriptor : {m_out, m_err, m_terminal})
        if (descriptor >= 0)
            close(descriptor);
    return {WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1, m_outText, m_errText, normal};
}

Outcome play(Words const& arguments) { return PlayerProcess(arguments).finish(); }

std::string testFile(std::string const& name)
{
    static std::string const directory = [] {
        std::string path = testing::TempDir() + "avrplay-XXXXXX";
        if (mkdtemp(&path[0]) == nullptr)
            abort();
        return path;
    }();
    return directory + '/' + name;
}

std::string writeFile(std::string const& name, std::string const& bytes)
{
    std::string const path = testFile(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::string readFile(std::string const& path)
{
    std::stringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

std::string noise(std::size_t bytes)
{
    std::string result(bytes, '\0');
    unsigned long state = 20;
    for (char& byte : result) {
        state = (state * 1664525UL + 1013904223UL) & 0xFFFFFFFFUL;
        byte = static_cast<char>(state >> 24);
    }
    return result;
}

std::string littleEndian(unsigned long value, int bytes)
{
    std::string result;
    for (int i = 0; i < bytes; ++i)
        result += static_cast<char>(value >> (8 * i) & 0xFF);
    return result;
}

std::string Wave::bytes() const
{
    unsigned const align = channels * bits / 8;
    return "RIFF" + littleEndian(36 + pcm.size(), 4) + "WAVEfmt " + littleEndian(16, 4) +
           littleEndian(tag, 2) + littleEndian(channels, 2) + littleEndian(rate, 4) +
           littleEndian(rate * align, 4) + littleEndian(align, 2) + littleEndian(bits, 2) + "data" +
           littleEndian(pcm.size(), 4) + pcm;
}

std::string audioOf(std::string const& wavFile)
{
    std::string const bytes = readFile(wavFile);
    if (bytes.size() < 44)
        return "no header in " + wavFile;
    EXPECT_EQ(bytes.substr(4, 4), littleEndian(bytes.size() - 8, 4));
    EXPECT_EQ(bytes.substr(36, 8), "data" + littleEndian(bytes.size() - 44, 4));
    return bytes.substr(44);
}

}} // namespace avr::test
