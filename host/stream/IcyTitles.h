#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace avr { namespace host {

/// Takes the titles out of a radio station's stream, which has a block of text behind every so many
/// bytes of audio.
class IcyTitles {
public:
    /// @param position  of the audio, in bytes, that the title begins at
    /// @param title     UTF-8; empty when there is none from here on
    using Changed = std::function<void(long long position, std::string const& title)>;

    /// @param interval  bytes of audio between the blocks; 0 when there are none
    /// @param changed   is called by filter when a title is another one than before
    IcyTitles(std::size_t interval, Changed changed);

    /// Takes the next bytes of the stream, cut anywhere.
    /// @param data  keeps the audio, moved to the front
    /// @return bytes of audio
    std::size_t filter(std::uint8_t* data, std::size_t bytes);

    /// Bytes of audio so far.
    long long position() const { return m_position; }

private:
    std::size_t takeAudio(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes);
    std::size_t takeBlock(const std::uint8_t* from, std::size_t bytes);
    void readBlock();

    static constexpr std::size_t Unit = 16; ///< a block's length is told in these
    static constexpr std::size_t MostBlockBytes = 255 * Unit;

    std::size_t const m_interval;
    Changed const m_changed;
    long long m_position = 0;
    std::size_t m_audioLeft; ///< up to the next block
    std::size_t m_blockLeft = 0;
    std::size_t m_blockBytes = 0; ///< held
    std::array<char, MostBlockBytes> m_block;
    std::string m_title; ///< as the station wrote it
};

}} // namespace avr::host
