#include "PlayerProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace avr { namespace test {

namespace {

[[noreturn]] void runPlayer(Words const& arguments)
{
    // Whoever runs the tests may have these ignored.
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        ::signal(number, SIG_DFL);
    std::vector<char*> words;
    for (const char* word : {AVRPLAY_COMMAND}) // with an emulator's words, if there is one
        words.push_back(const_cast<char*>(word));
    for (std::string const& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(127);
}

std::string littleEndian(unsigned long value, int bytes)
{
    std::string result;
    for (; bytes > 0; --bytes, value >>= 8)
        result += static_cast<char>(value & 0xFF);
    return result;
}

} // namespace

PlayerProcess::PlayerProcess(Words const& arguments, bool onTerminal)
{
    winsize const size{24, 80, 0, 0};
    std::string const out = testFile("stdout"); // makes the directory: not in the child
    int err[2] = {-1, -1};
    if (!onTerminal && pipe2(err, O_CLOEXEC) != 0)
        abort();
    m_err = err[0];
    m_pid = onTerminal ? forkpty(&m_err, nullptr, nullptr, &size) : fork();
    if (m_pid == 0) {
        dup2(creat(out.c_str(), 0600), STDOUT_FILENO);
        if (!onTerminal) {
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
            dup2(err[1], STDERR_FILENO);
        }
        runPlayer(arguments);
    }
    close(err[1]);
}

PlayerProcess::~PlayerProcess()
{
    if (m_pid > 0 && kill(m_pid, SIGKILL) == 0)
        finish();
}

/// @return false when there was nothing
bool PlayerProcess::readSome()
{
    pollfd source = {m_err, POLLIN, 0};
    char bytes[65536];
    ssize_t const n = poll(&source, 1, 0) > 0 ? read(m_err, bytes, sizeof bytes) : 0;
    m_errText.append(bytes, n > 0 ? std::size_t(n) : 0);
    return n > 0;
}

bool PlayerProcess::waitFor(std::string const& text)
{
    std::size_t at = std::string::npos;
    bool const found =
        until([&] { return (at = m_errText.find(text, m_seen)) != std::string::npos; });
    EXPECT_TRUE(found) << text << " is not in:\n" << m_errText;
    m_seen = found ? at + text.size() : m_seen;
    return found;
}

void PlayerProcess::type(std::string const& keys)
{
    EXPECT_EQ(write(m_err, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

bool PlayerProcess::terminalIsNormal() const
{
    termios settings{};
    return tcgetattr(m_err, &settings) == 0 && (~settings.c_lflag & (ICANON | ECHO)) == 0;
}

Outcome PlayerProcess::finish()
{
    int status = 0;
    if (!until([&] { return waitpid(m_pid, &status, WNOHANG) == m_pid; })) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, &status, 0);
    }
    m_pid = -1;
    while (readSome())
        continue;
    bool const normal = terminalIsNormal();
    close(m_err);
    int const exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return {exit, contentOf(testFile("stdout")), m_errText, normal};
}

std::string testFile(std::string const& name)
{
    static TempDir const directory;
    return directory.file(name);
}

std::string writeFile(std::string const& name, std::string const& bytes)
{
    store(testFile(name), bytes);
    return testFile(name);
}

std::string wave(std::string const& pcm, unsigned rate, unsigned channels, unsigned bits,
                 unsigned tag)
{
    unsigned const align = channels * bits / 8;
    return "RIFF" + littleEndian(36 + pcm.size(), 4) + "WAVEfmt " + littleEndian(16, 4) +
           littleEndian(tag, 2) + littleEndian(channels, 2) + littleEndian(rate, 4) +
           littleEndian(rate * align, 4) + littleEndian(align, 2) + littleEndian(bits, 2) + "data" +
           littleEndian(pcm.size(), 4) + pcm;
}

std::string audioOf(std::string const& wavFile)
{
    std::string const bytes = contentOf(wavFile);
    EXPECT_EQ(bytes.substr(4, 4), littleEndian(bytes.size() - 8, 4));
    EXPECT_EQ(bytes.substr(36, 8), "data" + littleEndian(bytes.size() - 44, 4));
    return bytes.substr(44);
}

}} // namespace avr::test
