#include "OpenFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace avr { namespace host {

namespace {

static_assert(sizeof(off_t) == 8, "files may have more than 2 GiB");

/// What one read may ask for: ssize_t has 32 bits on some machines.
constexpr std::size_t LargestRead = 1u << 30;

void closeIfOpen(int descriptor)
{
    if (descriptor >= 0)
        ::close(descriptor);
}

} // namespace

OpenFile::~OpenFile()
{
    closeIfOpen(m_file);
    closeIfOpen(m_wakeIn);
    closeIfOpen(m_wakeOut);
}

int OpenFile::open(std::string const& path)
{
    // O_NONBLOCK: opening a pipe must not wait for its writer; waitForData does.
    m_file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    struct stat status = {};
    if (m_file < 0 || ::fstat(m_file, &status) != 0)
        return errno;
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    m_regular = S_ISREG(status.st_mode);
    int wake[2] = {-1, -1};
    if (!m_regular && ::pipe2(wake, O_CLOEXEC) != 0)
        return errno;
    m_wakeIn = wake[0];
    m_wakeOut = wake[1];
    return 0;
}

long OpenFile::read(void* buffer, std::size_t bytes, int& failure)
{
    while (waitForData(failure)) {
        const ssize_t count = ::read(m_file, buffer, std::min(bytes, LargestRead));
        if (count >= 0)
            return count;
        if (errno != EINTR && errno != EAGAIN) {
            failure = errno;
            return -1;
        }
    }
    return -1;
}

bool OpenFile::seek(long long offset)
{
    return offset >= 0 && ::lseek(m_file, static_cast<off_t>(offset), SEEK_SET) == offset;
}

long long OpenFile::length() const
{
    struct stat status = {};
    return m_regular && ::fstat(m_file, &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

void OpenFile::wakeReader()
{
    m_closed = true;
    closeIfOpen(m_wakeOut);
    m_wakeOut = -1;
}

/// A pipe that never had a writer has no end yet, so that a player may be started before it.
bool OpenFile::waitForData(int& failure) const
{
    struct pollfd wanted[2] = {{m_file, POLLIN, 0}, {m_wakeIn, POLLIN, 0}};
    while (!m_regular && !m_closed && ::poll(wanted, 2, -1) < 0) {
        if (errno != EINTR) {
            failure = errno;
            return false;
        }
    }
    failure = ECANCELED;
    return !m_closed;
}

}} // namespace avr::host
