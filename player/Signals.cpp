#include "Signals.h"

#include "ExitCode.h"
#include "TerminalMode.h"

#include <atomic>
#include <initializer_list>

#include <signal.h>
#include <unistd.h>

namespace avr { namespace player {

namespace {

std::atomic<Wakeup const*> s_wakeup{nullptr};
std::atomic<bool> s_interrupted{false};
std::atomic<bool> s_continued{false};

void onSignal(int signal)
{
    // Asked a second time: something holds the orderly end up, a pipe that nobody reads perhaps.
    if (signal != SIGCONT && s_interrupted) {
        TerminalMode::restore();
        _exit(WasInterrupted);
    }
    (signal == SIGCONT ? s_continued : s_interrupted) = true;
    if (Wakeup const* wakeup = s_wakeup)
        wakeup->post();
}

void handle(int signal)
{
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

} // namespace

Signals::Signals(Wakeup const& wakeup)
{
    s_wakeup = &wakeup;
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGCONT})
        handle(number);
    // A reader of our output that goes away, or a file too large, is a failed write, not the end
    // of the program.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

Signals::~Signals() { s_wakeup = nullptr; }

bool Signals::interrupted() const { return s_interrupted; }

bool Signals::continued() const { return s_continued.exchange(false); }

}} // namespace avr::player
