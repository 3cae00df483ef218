#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace avr { namespace host {

/// A file that is read piece by piece, from byte 0, forwards where possible.
class Mp4Input {
public:
    /// Reads exactly so many bytes. @return false when that fails
    using Read = std::function<bool(std::uint8_t* to, std::size_t bytes)>;
    /// Goes to a byte. @return false when that fails; nothing has moved then
    using Seek = std::function<bool(std::uint64_t position)>;

    Mp4Input(Read read, Seek seek) : m_read(std::move(read)), m_seek(std::move(seek)) {}

    bool read(std::uint8_t* to, std::size_t bytes);
    /// Reads over a short gap instead of seeking, and over any gap when the file cannot seek.
    bool moveTo(std::uint64_t position);
    std::uint64_t position() const { return m_position; }

private:
    bool readOver(std::uint64_t bytes);

    static constexpr std::uint64_t ShortGap = 65536;
    static constexpr std::uint64_t Unknown = UINT64_MAX;

    Read m_read;
    Seek m_seek;
    std::uint64_t m_position = 0;      ///< Unknown after a failed read
    std::uint64_t m_refused = Unknown; ///< the lowest place that could not be sought
};

constexpr std::uint32_t MostMp4HeadBytes = 1u << 24;
constexpr std::uint32_t MostMp4Samples = 1u << 22;

/// Reads the atoms "ftyp" and "moov" with their headers. Stops behind "moov".
/// @return empty when there is no "moov", or it has more than MostMp4HeadBytes
std::vector<std::uint8_t> readMp4Head(Mp4Input& input);

/// Leaves in a head only what describes AAC tracks; everything else becomes free space, in place.
/// @return false when a table claims more entries than it has, or there are more than
///         MostMp4Samples, or a hundred tracks
bool reduceMp4Head(std::vector<std::uint8_t>& head);

}} // namespace avr::host
