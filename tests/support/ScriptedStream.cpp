#include "ScriptedStream.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace avr { namespace test {

using namespace kiv::appli;
using Lock = std::unique_lock<std::mutex>;

/// Notes when two threads are inside at once.
class ScriptedStream::Alone {
public:
    explicit Alone(ScriptedStream& stream) : m_stream(stream)
    {
        if (m_stream.m_inside++ != 0)
            m_stream.m_contractBroken = true;
    }
    ~Alone() { --m_stream.m_inside; }

private:
    ScriptedStream& m_stream;
};

int ScriptedStream::IsOpened()
{
    Lock lock(m_lock);
    return m_open ? 0 : -1;
}

int ScriptedStream::Open()
{
    Alone alone(*this);
    m_error = 0;
    if (m_script.openFails) {
        m_error = 5;
        return ErrorFailed;
    }
    Lock lock(m_lock);
    m_open = true;
    m_offset = 0;
    if (m_script.openStalls) {
        m_closed.wait(lock, [this] { return !m_open; });
        return ErrorFailed;
    }
    return Ok;
}

void ScriptedStream::Close()
{
    Lock lock(m_lock);
    ++m_closes;
    m_open = m_open && m_script.ignoresClose;
    m_closed.notify_all();
}

void ScriptedStream::stallUntilClosed()
{
    Lock lock(m_lock);
    m_closed.wait(lock, [this] { return !m_open; });
}

int ScriptedStream::failWith(Script::Fault fault)
{
    switch (fault) {
    case Script::Fault::End:
        return ResultEndOfStream;
    case Script::Fault::RetryForever:
        return StreamRetry;
    case Script::Fault::TimedOut:
        return -62;
    case Script::Fault::Throw:
        throw std::runtime_error("scripted");
    case Script::Fault::Stall:
        stallUntilClosed();
        return ErrorFailed;
    default:
        m_error = 5;
        return ErrorFailed;
    }
}

int ScriptedStream::Read(void* buf, unsigned int len, unsigned int* got)
{
    Alone alone(*this);
    *got = 0;
    int const index = m_reads++;
    bool const faulty = m_script.fault != Script::Fault::None && index >= m_script.faultAtRead &&
                        !(m_script.faultPasses && m_closes != 0);
    {
        Lock lock(m_lock);
        if (!m_open)
            return ErrorFailed;
    }
    if (faulty)
        return failWith(m_script.fault);
    if (m_script.retryBeforeEach && !m_retried.exchange(true))
        return StreamRetry;
    m_retried = false;
    Lock lock(m_lock);
    std::size_t left = m_script.data.size() - std::min(m_offset, m_script.data.size());
    if (left == 0)
        return ResultEndOfStream;
    if (m_script.retriesFrom != 0 && !m_moved) {
        if (m_offset >= m_script.retriesFrom)
            return StreamRetry;
        left = std::min(left, m_script.retriesFrom - m_offset);
    }
    unsigned int const most = m_script.longestRead == 0 ? len : std::min(len, m_script.longestRead);
    *got = static_cast<unsigned int>(std::min<std::size_t>(most, left));
    std::memcpy(buf, m_script.data.data() + m_offset, *got);
    m_offset += *got;
    return Ok;
}

int ScriptedStream::SeekByte(long long offset)
{
    Alone alone(*this);
    m_lastOffset = offset;
    if (m_script.seeksFail || (m_script.capabilities & CanSeekByte) == 0)
        return ErrorFailed;
    Lock lock(m_lock);
    m_offset = static_cast<std::size_t>(offset);
    m_moved = true;
    return Ok;
}

int ScriptedStream::SeekTime(double seconds)
{
    Alone alone(*this);
    m_lastTime = seconds;
    if (m_script.seeksFail || (m_script.capabilities & CanSeekTime) == 0)
        return ErrorFailed;
    return Ok;
}

int ScriptedStream::GetStreamProperty(int key, std::string& value)
{
    if (key == ContentLength && m_script.knowsLength)
        value = std::to_string(m_script.data.size());
    else if (key == Address)
        value = m_script.address;
    else if (key == StreamType)
        value = m_script.type;
    else
        return ErrorFailed;
    return Ok;
}

}} // namespace avr::test
