#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace avr { namespace host {

/// Takes the ASF file out of the body of an MMS stream over HTTP: the header, then data packets,
/// one at a time. Packets that the server left out are passed over.
class MmsFraming {
public:
    enum class Result {
        NeedsMore,      ///< all bytes were taken
        Header,         ///< of a file, also when the stream changes to another one
        Packet,         ///< of the file
        StreamChange,   ///< the header of another file follows
        End,            ///< of everything
        EndMoreFollows, ///< of this file, of several
        Broken          ///< for ever; see reason
    };
    /// Takes the next bytes, cut anywhere, up to the first thing to tell.
    /// @param taken  how many; the caller comes again with the rest
    Result feed(const std::uint8_t* data, std::size_t bytes, std::size_t& taken);

    /// The whole header or packet, until the next feed.
    std::vector<std::uint8_t> const& output() const { return m_output; }
    /// Why it is broken, for a person.
    std::string const& reason() const { return m_reason; }

    static constexpr std::size_t MostHeaderBytes = 1u << 20;
    static constexpr std::size_t MostPacketBytes = 1u << 16;

private:
    bool takeHead(const std::uint8_t*& from, const std::uint8_t* end);
    bool beginFrame();
    bool beginChunk();
    bool beginHeader();
    bool beginPacket();
    bool takeBody(const std::uint8_t*& from, const std::uint8_t* end);
    Result endChunk();
    Result endHeader();
    Result endResult();

    bool fail(const char* reason);

    static constexpr std::size_t FrameBytes = 4;
    static constexpr std::size_t MostPrefixBytes = 8;

    std::array<std::uint8_t, FrameBytes + MostPrefixBytes> m_head = {}; ///< of the chunk
    std::size_t m_headBytes = 0;                                        ///< held
    std::size_t m_headWanted = 0;                                       ///< known from the frame on
    bool m_inBody = false;
    std::size_t m_bodyLeft = 0;
    std::vector<std::uint8_t> m_output;
    bool m_inHeader = false;       ///< parts of it are to come
    std::size_t m_packetBytes = 0; ///< 0 while there is no header
    std::string m_reason;          ///< empty while it is not broken
};

}} // namespace avr::host
