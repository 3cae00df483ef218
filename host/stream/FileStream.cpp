#include "FileStream.h"

#include "OpenFile.h"
#include "decoder/Result.h"

#include <cerrno>
#include <mutex>
#include <sys/stat.h>

namespace avr { namespace host {

using kiv::appli::ErrorFailed;
using kiv::appli::ErrorNotSupported;
using kiv::appli::Ok;

class FileStream::Impl {
public:
    explicit Impl(std::string name) : path(std::move(name)) {}

    std::shared_ptr<OpenFile> current()
    {
        std::lock_guard<std::mutex> guard(lock);
        return file;
    }

    void fail(int code)
    {
        std::lock_guard<std::mutex> guard(lock);
        error = code;
    }

    /// Bytes of a regular file; negative for anything else. Asks the path while nothing is open.
    long long length()
    {
        const std::shared_ptr<OpenFile> opened = current();
        if (opened)
            return opened->length();
        struct stat status = {};
        const bool regular = ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
        return regular ? static_cast<long long>(status.st_size) : -1;
    }

    const std::string path;
    std::mutex lock;
    std::shared_ptr<OpenFile> file; ///< guarded by lock; a reader holds a reference of its own
    int error = 0;                  ///< guarded by lock
    unsigned closes = 0;            ///< guarded by lock
};

FileStream::FileStream(std::string path) : m_impl(std::make_unique<Impl>(std::move(path))) {}
FileStream::~FileStream() { Close(); }

int FileStream::IsOpened() { return m_impl->current() ? Ok : ErrorFailed; }

int FileStream::Open()
{
    std::unique_lock<std::mutex> lock(m_impl->lock);
    if (m_impl->file)
        return Ok;
    m_impl->error = 0;
    const unsigned closes = m_impl->closes;
    lock.unlock();
    auto file = std::make_shared<OpenFile>();
    const int failure = file->open(m_impl->path);
    lock.lock();
    if (failure != 0) {
        m_impl->error = failure;
        return ErrorFailed;
    }
    if (m_impl->closes != closes)
        return ErrorFailed;
    m_impl->file = file;
    return Ok;
}

void FileStream::Close()
{
    std::shared_ptr<OpenFile> file;
    {
        std::lock_guard<std::mutex> guard(m_impl->lock);
        file.swap(m_impl->file);
        ++m_impl->closes;
    }
    if (file)
        file->wakeReader();
}

int FileStream::Read(void* buf, unsigned int len, unsigned int* got)
{
    const std::shared_ptr<OpenFile> file = m_impl->current();
    if (!file || !got)
        return ErrorFailed;
    *got = 0;
    if (len == 0)
        return Ok;
    int failure = 0;
    const long count = file->read(buf, len, failure);
    if (count > 0) {
        *got = static_cast<unsigned int>(count);
        return Ok;
    }
    if (count == 0)
        return kiv::appli::ResultEndOfStream;
    if (failure != ECANCELED)
        m_impl->fail(failure);
    return ErrorFailed;
}

int FileStream::GetCapabilities() { return m_impl->length() >= 0 ? CanSeekByte : 0; }

/// A refused position is the caller's mistake, not the stream's: the error status stays.
int FileStream::SeekByte(long long offset)
{
    const std::shared_ptr<OpenFile> file = m_impl->current();
    if (!file)
        return ErrorFailed;
    if (file->length() < 0)
        return ErrorNotSupported;
    return file->seek(offset) ? Ok : ErrorFailed;
}

int FileStream::SeekTime(double) { return ErrorNotSupported; }

int FileStream::GetStreamProperty(int key, std::string& value)
{
    const long long length = key == ContentLength ? m_impl->length() : 0;
    if (length < 0)
        return ErrorFailed;
    switch (key) {
    case ContentLength:
        value = std::to_string(length);
        return Ok;
    case Address:
        value = m_impl->path;
        return Ok;
    case StreamType:
        value = "local";
        return Ok;
    default:
        return ErrorFailed;
    }
}

int FileStream::GetErrorStatus()
{
    std::lock_guard<std::mutex> guard(m_impl->lock);
    return m_impl->error;
}

}} // namespace avr::host
