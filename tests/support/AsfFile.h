#pragma once

#include "Samples.h"

namespace avr { namespace test {

/// An ASF file made of coded blocks. Its packets bring another stream's payloads, too, and junk
/// where a reader should not look.
struct AsfFile {
    enum class Layout {
        Several, ///< payloads in a packet, a foreign one in front
        Single,  ///< a payload in each packet, which tells its length
        Small    ///< whole blocks of less than 256 bytes, their lengths in front
    };

    std::vector<Bytes> blocks;
    Layout layout = Layout::Several;
    std::uint32_t packetBytes = 1000;
    std::uint16_t tag = 0x161, channels = 2, blockAlign = 0, bits = 16;
    std::uint32_t rate = 44100, bytesPerSecond = 8000, duration = 2000, preroll = 3100;
    Bytes extra, spread;
    std::uint16_t stream = 1; ///< its number, and flags
    bool isBroadcast = false;

    Bytes header(std::size_t packets) const;
    std::vector<Bytes> packets() const;
    Bytes bytes() const
    {
        std::vector<Bytes> const all = packets();
        Bytes file = header(all.size());
        for (Bytes const& packet : all)
            append(file, packet);
        return file;
    }

private:
    /// How far the blocks are written.
    struct Place {
        std::size_t block = 0, offset = 0;
    };
    std::uint32_t time(Place const& at) const
    {
        return std::uint32_t(preroll + duration * at.block / blocks.size());
    }
    void fragment(Bytes& packet, Place& at, bool hasLength) const;
    Bytes several(Place& at) const;
    Bytes single(Place& at) const;
    Bytes small(Place& at) const;
};

/// A file of WMA Lossless whose blocks hold the samples as they are.
/// @param pcm  interleaved, little-endian, of 16 or 24 bits
AsfFile losslessFile(Bytes const& pcm, std::uint16_t channels, std::uint16_t bits,
                     std::uint32_t rate);

}} // namespace avr::test
