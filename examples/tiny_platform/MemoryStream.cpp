#include "MemoryStream.h"

#include <algorithm>

namespace tiny {

using namespace kiv::appli;

int MemoryStream::IsOpened() { return m_open ? Ok : ErrorFailed; }

int MemoryStream::Open()
{
    m_error = m_bytes.empty() ? 1 : 0;
    m_at = 0;
    m_open = m_error == 0;
    return IsOpened();
}

int MemoryStream::Read(void* buf, unsigned int len, unsigned int* got)
{
    *got = 0;
    if (!m_open)
        return ErrorFailed;
    if (len == 0)
        return Ok;
    if (m_at == m_bytes.size())
        return ResultEndOfStream;
    *got = static_cast<unsigned int>(std::min<std::size_t>(len, m_bytes.size() - m_at));
    std::copy_n(m_bytes.data() + m_at, *got, static_cast<std::uint8_t*>(buf));
    m_at += *got;
    return Ok;
}

int MemoryStream::SeekByte(long long offset)
{
    if (!m_open || offset < 0 || offset > static_cast<long long>(m_bytes.size()))
        return ErrorFailed;
    m_at = static_cast<std::size_t>(offset);
    return Ok;
}

int MemoryStream::SeekTime(double) { return ErrorNotSupported; }

int MemoryStream::GetStreamProperty(int key, std::string& value)
{
    switch (key) {
    case ContentLength:
        value = std::to_string(m_bytes.size());
        return Ok;
    case Address:
        value = "memory";
        return Ok;
    case StreamType:
        value = "local";
        return Ok;
    default:
        return ErrorNotSupported;
    }
}

} // namespace tiny
