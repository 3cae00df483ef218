#include "TerminalMode.h"

#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

namespace avr { namespace player {

namespace {

constexpr int StopSignals = SIGTSTP;
constexpr int Crashes[] = {SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};

std::atomic<int> s_terminal{-1}; ///< where the keys come from; -1 = nowhere
termios s_original;
std::atomic<bool> s_changed{false};
struct sigaction s_oldActions[sizeof Crashes / sizeof *Crashes];

bool inForeground() { return tcgetpgrp(s_terminal) == getpgrp(); }

void onStop(int)
{
    int const kept = errno;
    TerminalMode::restore();
    kill(getpid(), SIGSTOP);
    errno = kept;
}

// The former action then sees the same signal, so that a crash still is one.
void onCrash(int signal)
{
    TerminalMode::restore();
    for (std::size_t i = 0; i < sizeof Crashes / sizeof *Crashes; ++i)
        if (Crashes[i] == signal)
            sigaction(signal, &s_oldActions[i], nullptr);
    raise(signal);
}

void installHandlers()
{
    struct sigaction action {};
    action.sa_handler = onCrash;
    for (std::size_t i = 0; i < sizeof Crashes / sizeof *Crashes; ++i)
        sigaction(Crashes[i], &action, &s_oldActions[i]);
    struct sigaction old {};
    if (sigaction(StopSignals, nullptr, &old) == 0 && old.sa_handler == SIG_IGN)
        return;
    action.sa_handler = onStop;
    action.sa_flags = SA_RESTART;
    sigaction(StopSignals, &action, nullptr);
}

} // namespace

TerminalMode::TerminalMode(bool inputIsSound)
{
    if (isatty(STDIN_FILENO))
        s_terminal = STDIN_FILENO;
    else if (inputIsSound)
        s_terminal = open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (s_terminal < 0)
        return;
    installHandlers();
    enterAgain();
}

TerminalMode::~TerminalMode()
{
    restore();
    int const terminal = s_terminal.exchange(-1);
    if (terminal > STDIN_FILENO)
        close(terminal);
}

void TerminalMode::restore()
{
    if (s_changed.exchange(false))
        tcsetattr(s_terminal, TCSANOW, &s_original);
}

int TerminalMode::descriptor() const
{
    return s_changed && inForeground() ? s_terminal.load() : -1;
}

void TerminalMode::enterAgain()
{
    if (s_terminal < 0 || !inForeground())
        return;
    if (!s_changed && tcgetattr(s_terminal, &s_original) != 0)
        return;
    termios keys = s_original;
    keys.c_lflag &= ~tcflag_t(ICANON | ECHO);
    keys.c_cc[VMIN] = 0; // a read never blocks
    keys.c_cc[VTIME] = 0;
    s_changed = true;
    tcsetattr(s_terminal, TCSANOW, &keys);
}

}} // namespace avr::player
