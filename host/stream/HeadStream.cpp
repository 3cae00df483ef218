#include "HeadStream.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace avr { namespace host {

using namespace kiv::appli;

HeadStream::HeadStream(StreamPtr stream)
    : m_stream(std::move(stream)), m_below(dynamic_cast<BelowBuffer*>(m_stream.get()))
{}

int HeadStream::openEarly()
{
    int const result = Open();
    m_isEarly = result >= 0;
    return result;
}

std::string const& HeadStream::head(std::size_t bytes, std::chrono::milliseconds patience)
{
    using Clock = std::chrono::steady_clock;
    Clock::time_point const began = Clock::now();
    constexpr std::chrono::milliseconds RetryPause(5);
    int result = Ok;
    while (m_head.size() < bytes && (result >= 0 || result == StreamRetry)) {
        m_isLate = Clock::now() - began > patience;
        if (m_isLate)
            break;
        std::size_t const held = m_head.size();
        unsigned int got = 0;
        m_head.resize(bytes);
        result = m_stream->Read(&m_head[held], static_cast<unsigned int>(bytes - held), &got);
        m_head.resize(held + (result >= 0 ? got : 0));
        if (result == StreamRetry)
            std::this_thread::sleep_for(RetryPause);
    }
    return m_head;
}

int HeadStream::IsOpened() { return m_stream->IsOpened(); }

int HeadStream::Open()
{
    if (m_isEarly.exchange(false) && m_stream->IsOpened() >= 0)
        return Ok;
    m_head.clear();
    m_read = 0;
    m_isBeyond = false;
    return m_stream->Open();
}

void HeadStream::Close()
{
    m_isEarly = false;
    m_stream->Close();
}

int HeadStream::Read(void* buf, unsigned int len, unsigned int* got)
{
    if (m_read >= m_head.size()) {
        m_isBeyond = true;
        return m_stream->Read(buf, len, got);
    }
    if (m_stream->IsOpened() < 0)
        return ErrorFailed;
    std::size_t const bytes = std::min<std::size_t>(len, m_head.size() - m_read);
    std::memcpy(buf, m_head.data() + m_read, bytes);
    m_read += bytes;
    *got = static_cast<unsigned int>(bytes);
    return Ok;
}

int HeadStream::GetCapabilities() { return m_stream->GetCapabilities(); }

int HeadStream::SeekByte(long long offset)
{
    bool const isWithin =
        !m_isBeyond && offset >= 0 && offset <= static_cast<long long>(m_head.size());
    if (isWithin) {
        m_read = static_cast<std::size_t>(offset);
        return Ok;
    }
    return movedBy(m_stream->SeekByte(offset));
}

int HeadStream::SeekTime(double seconds) { return movedBy(m_stream->SeekTime(seconds)); }

int HeadStream::movedBy(int result)
{
    if (result >= 0) { // the head is left
        m_isBeyond = true;
        m_read = m_head.size();
    }
    return result;
}

int HeadStream::GetStreamProperty(int key, std::string& value)
{
    return m_stream->GetStreamProperty(key, value);
}

int HeadStream::GetErrorStatus() { return m_stream->GetErrorStatus(); }

void HeadStream::interruptRead()
{
    if (m_below)
        m_below->interruptRead();
}

void HeadStream::taken(long long position)
{
    if (m_below)
        m_below->taken(position);
}

}} // namespace avr::host
