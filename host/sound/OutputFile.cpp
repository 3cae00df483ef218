#include "OutputFile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace avr { namespace host {

namespace {

constexpr int RoomWaitMilliseconds = 50;

/// A pipe that polls writable takes this much without blocking.
constexpr std::size_t PipePiece = PIPE_BUF;

} // namespace

OutputFile::OutputFile(int descriptor, std::string name)
    : m_name(std::move(name)), m_descriptor(descriptor), m_owned(false)
{}

OutputFile::~OutputFile()
{
    std::string ignored;
    close(ignored);
}

bool OutputFile::open(std::string& error)
{
    if (m_owned) {
        // Without O_NONBLOCK a pipe that nobody reads would hang here.
        const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
        m_descriptor = ::open(m_name.c_str(), flags, 0666);
    }
    struct stat status = {};
    if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0)
        return report(errno, error);
    m_regular = S_ISREG(status.st_mode);
    m_stored = 0;
    return true;
}

long OutputFile::write(const std::uint8_t* pcm, std::size_t bytes, std::size_t frameBytes,
                       std::string& error)
{
    if (!flush(error))
        return -1;
    if (!flushed())
        return 0;
    const long written = writeSome(pcm, bytes, error);
    if (written <= 0)
        return written;
    const std::size_t over = std::size_t(written) % frameBytes;
    const std::size_t rest = over == 0 ? 0 : frameBytes - over;
    append(pcm + written, rest);
    return written + long(rest);
}

void OutputFile::append(const std::uint8_t* bytes, std::size_t count)
{
    m_rest.insert(m_rest.end(), bytes, bytes + count);
}

bool OutputFile::flush(std::string& error)
{
    if (m_rest.empty())
        return true;
    const long written = writeSome(m_rest.data(), m_rest.size(), error);
    if (written < 0)
        return false;
    m_rest.erase(m_rest.begin(), m_rest.begin() + written);
    return true;
}

bool OutputFile::rewrite(const std::uint8_t* bytes, std::size_t count, std::string& error)
{
    const ssize_t written = ::pwrite(m_descriptor, bytes, count, 0);
    return written == ssize_t(count) || report(written < 0 ? errno : EIO, error);
}

bool OutputFile::close(std::string& error)
{
    if (m_descriptor < 0)
        return true;
    bool stored = flush(error);
    if (stored && !flushed())
        stored = report(ETIMEDOUT, error);
    m_rest.clear();
    const int result = m_owned ? ::close(m_descriptor) : 0;
    m_descriptor = -1;
    if (stored && result != 0 && errno != EINTR)
        stored = report(errno, error);
    return stored;
}

long OutputFile::writeSome(const std::uint8_t* bytes, std::size_t count, std::string& error)
{
    std::size_t done = 0;
    while (done < count && (m_regular || hasRoom(done == 0 ? RoomWaitMilliseconds : 0))) {
        const std::size_t piece = m_regular ? count - done : std::min(count - done, PipePiece);
        const ssize_t written = ::write(m_descriptor, bytes + done, piece);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            // A failure after some bytes shows again at the next call.
            if (written == 0 || errno == EAGAIN || done != 0)
                break;
            report(errno, error);
            return -1;
        }
        done += std::size_t(written);
    }
    m_stored += done;
    return long(done);
}

/// Also true when a write would fail at once.
bool OutputFile::hasRoom(int milliseconds) const
{
    struct pollfd request = {m_descriptor, POLLOUT, 0};
    return ::poll(&request, 1, milliseconds) > 0;
}

bool OutputFile::report(int code, std::string& error) const
{
    std::string reason = std::system_category().message(code);
    if (code == ENXIO)
        reason = "nobody reads this pipe";
    if (reason[0] >= 'A' && reason[0] <= 'Z' && reason[1] >= 'a') // it stands within a line
        reason[0] = static_cast<char>(reason[0] - 'A' + 'a');
    error = m_name + ": " + reason;
    return false;
}

}} // namespace avr::host
