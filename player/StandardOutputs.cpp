#include "StandardOutputs.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace avr { namespace player {

namespace {
bool s_outWasClosed = false;
}

void StandardOutputs::fillGaps()
{
    s_outWasClosed = fcntl(STDOUT_FILENO, F_GETFD) < 0;
    for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor)
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDWR) != descriptor)
            _exit(1);
}

StandardOutputs::StandardOutputs(bool showLog)
    : m_out(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)),
      m_err(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    int const log = showLog ? m_err : open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (log < 0)
        throw std::system_error(errno, std::generic_category(), "/dev/null");
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // the log's lines in their order
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    if (log != m_err)
        close(log);
}

bool StandardOutputs::outWasClosed() const { return s_outWasClosed; }

StandardOutputs::~StandardOutputs()
{
    close(m_out);
    close(m_err);
}

}} // namespace avr::player
