#include "Wakeup.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace avr { namespace player {

Wakeup::Wakeup()
{
    if (pipe2(m_ends, O_CLOEXEC | O_NONBLOCK) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
}

Wakeup::~Wakeup()
{
    close(m_ends[0]);
    close(m_ends[1]);
}

void Wakeup::post() const noexcept
{
    int const kept = errno;
    char const byte = 0;
    // A full pipe wakes the loop just as well.
    if (write(m_ends[1], &byte, 1) < 0)
        errno = kept;
}

void Wakeup::clear() const
{
    char bytes[64];
    while (read(m_ends[0], bytes, sizeof bytes) > 0) {
    }
}

}} // namespace avr::player
