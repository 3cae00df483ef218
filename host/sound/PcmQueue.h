#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace avr { namespace host {

/// PCM of any block size in, chunks of whole frames out. Bytes that do not make a frame yet wait
/// for the next block. The chunks are recycled: once warm, nothing is allocated. Not locked, but a
/// chunk that was taken may be read while others push or clear.
class PcmQueue {
public:
    using Chunk = std::vector<std::uint8_t>;

    explicit PcmQueue(std::size_t frameBytes = 1);

    /// Copies one block. @throws std::bad_alloc, and then nothing was queued
    void push(const std::uint8_t* pcm, std::size_t bytes);
    /// The oldest chunk, valid until the next take. Only when bytes() is not 0.
    Chunk const& take();
    void clear();

    /// Bytes of whole frames that wait.
    std::size_t bytes() const { return m_bytes; }
    std::size_t frameBytes() const { return m_frameBytes; }

private:
    void reserve(std::size_t bytes);
    std::size_t completeFrame(const std::uint8_t* pcm, std::size_t bytes);
    void append(const std::uint8_t* pcm, std::size_t bytes);

    std::size_t m_frameBytes;
    std::size_t m_chunkBytes; ///< whole frames
    std::size_t m_bytes = 0;
    std::list<Chunk> m_waiting;
    std::list<Chunk> m_taken; ///< one at most
    std::list<Chunk> m_free;
    Chunk m_partOfFrame;
};

}} // namespace avr::host
