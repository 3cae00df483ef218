#pragma once

#include <string>

namespace avr { namespace player {

/// The first bytes of a regular file, as many as the WAVE decoder looks at; empty for anything
/// else (reading a pipe would take the bytes away from the decoder).
std::string readFileHead(std::string const& path);

/// Bytes of the ID3v2 tag that a head begins with; 0 when there is none.
unsigned int id3v2Bytes(std::string const& head);

/// What a person should know about a file that the WAVE decoder does not play.
struct WaveHead {
    explicit WaveHead(std::string const& head);

    /// One line: what is wrong and what to do. Empty when nothing is.
    std::string complaint() const;
    /// Extensible format of anything but integers, which the decoder would take for them.
    bool foreignSubFormat() const { return m_tag == 0xFFFE && m_subFormat != 1; }

private:
    bool walk(std::string const& head, std::size_t at);

    std::size_t m_size;
    bool m_riff = false;
    bool m_wave = false;
    bool m_format = false;
    bool m_data = false;
    unsigned m_tag = 0;
    unsigned m_subFormat = 1; ///< where the format does not say: integers
};

}} // namespace avr::player
