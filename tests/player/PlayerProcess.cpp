#include "PlayerProcess.h"

#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
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
    std::vector<char*> words{const_cast<char*>(AVRPLAY_PATH)};
    for (std::string const& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    execv(AVRPLAY_PATH, words.data());
    _exit(127);
}

} // namespace

PlayerProcess::PlayerProcess(Words const& arguments, unsigned short columns)
{
    winsize const size{24, columns, 0, 0};
    int out[2] = {-1, -1}, err[2] = {-1, -1};
    if (columns == 0 && (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0))
        abort();
    m_out = out[0];
    m_err = err[0];
    m_pid = columns == 0 ? fork() : forkpty(&m_err, nullptr, nullptr, &size);
    if (m_pid == 0) {
        if (columns == 0) {
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            dup2(err[1], STDERR_FILENO);
        }
        runPlayer(arguments);
    }
    close(out[1]);
    close(err[1]);
}

PlayerProcess::~PlayerProcess()
{
    if (m_pid <= 0)
        return;
    signal(SIGKILL);
    finish();
}

/// @return false when there was nothing
bool PlayerProcess::readSome(int milliseconds)
{
    pollfd sources[2] = {{m_out, POLLIN, 0}, {m_err, POLLIN, 0}};
    std::string* const texts[2] = {&m_outText, &m_errText};
    poll(sources, 2, milliseconds);
    bool any = false;
    for (int i : {0, 1}) {
        char bytes[65536];
        ssize_t const n = sources[i].revents != 0 ? read(sources[i].fd, bytes, sizeof bytes) : 0;
        texts[i]->append(bytes, n > 0 ? std::size_t(n) : 0);
        any = any || n > 0;
    }
    return any;
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

bool PlayerProcess::waitForStop()
{
    int status = 0;
    return until([&] { return waitpid(m_pid, &status, WUNTRACED | WNOHANG) == m_pid; }) &&
           WIFSTOPPED(status);
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

Outcome PlayerProcess::finish()
{
    int status = 0;
    bool ended = false;
    if (!until([&] { return ended = ended || waitpid(m_pid, &status, WNOHANG) == m_pid; })) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, &status, 0);
    }
    m_pid = -1;
    while (readSome(0))
        continue;
    bool const normal = terminalIsNormal();
    close(m_out);
    close(m_err);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, m_outText, m_errText, normal};
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
    std::ofstream(testFile(name), std::ios::binary) << bytes;
    return testFile(name);
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
    std::mt19937 random(20);
    for (char& byte : result)
        byte = static_cast<char>(random());
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
