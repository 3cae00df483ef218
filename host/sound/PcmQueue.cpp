#include "PcmQueue.h"

#include <algorithm>

namespace avr { namespace host {

namespace {
constexpr std::size_t ChunkBytes = 16384;
}

PcmQueue::PcmQueue(std::size_t frameBytes)
    : m_frameBytes(frameBytes),
      m_chunkBytes(std::max(frameBytes, ChunkBytes - ChunkBytes % frameBytes))
{
    m_partOfFrame.reserve(frameBytes);
}

void PcmQueue::push(const std::uint8_t* pcm, std::size_t bytes)
{
    reserve(bytes);
    const std::size_t joined = completeFrame(pcm, bytes);
    const std::size_t whole = (bytes - joined) / m_frameBytes * m_frameBytes;
    append(pcm + joined, whole);
    m_partOfFrame.insert(m_partOfFrame.end(), pcm + joined + whole, pcm + bytes);
}

PcmQueue::Chunk const& PcmQueue::take()
{
    m_free.splice(m_free.end(), m_taken);
    m_taken.splice(m_taken.end(), m_waiting, m_waiting.begin());
    m_bytes -= m_taken.front().size();
    return m_taken.front();
}

void PcmQueue::clear()
{
    m_free.splice(m_free.end(), m_waiting);
    m_partOfFrame.clear();
    m_bytes = 0;
}

void PcmQueue::reserve(std::size_t bytes)
{
    const std::size_t chunks = (m_partOfFrame.size() + bytes) / m_chunkBytes + 2;
    while (m_free.size() < chunks) {
        Chunk chunk;
        chunk.reserve(m_chunkBytes);
        m_free.push_back(std::move(chunk));
    }
}

/// @return bytes that went into the frame begun by an earlier block
std::size_t PcmQueue::completeFrame(const std::uint8_t* pcm, std::size_t bytes)
{
    if (m_partOfFrame.empty())
        return 0;
    const std::size_t joined = std::min(bytes, m_frameBytes - m_partOfFrame.size());
    m_partOfFrame.insert(m_partOfFrame.end(), pcm, pcm + joined);
    if (m_partOfFrame.size() == m_frameBytes) {
        append(m_partOfFrame.data(), m_frameBytes);
        m_partOfFrame.clear();
    }
    return joined;
}

void PcmQueue::append(const std::uint8_t* pcm, std::size_t bytes)
{
    m_bytes += bytes;
    while (bytes > 0) {
        if (m_waiting.empty() || m_waiting.back().size() == m_chunkBytes) {
            m_free.front().clear();
            m_waiting.splice(m_waiting.end(), m_free, m_free.begin());
        }
        Chunk& last = m_waiting.back();
        const std::size_t part = std::min(bytes, m_chunkBytes - last.size());
        last.insert(last.end(), pcm, pcm + part);
        pcm += part;
        bytes -= part;
    }
}

}} // namespace avr::host
