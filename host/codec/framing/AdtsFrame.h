#pragma once

#include "AacConfig.h"
#include "InputWindow.h"

namespace avr { namespace host {

/// The header of an ADTS frame.
struct AdtsHeader {
    static constexpr std::size_t FixedBytes = 7; ///< without a CRC

    AacFormat format;
    std::size_t headerBytes = 0;
    std::size_t frameBytes = 0; ///< with the header
    unsigned int blocks = 0;    ///< raw data blocks
    bool blocksHaveCrc = false; ///< 2 bytes behind each
};

/// @param bytes  FixedBytes of them
/// @return false when this is none
bool parseAdtsHeader(const std::uint8_t* bytes, AdtsHeader& header);

/// Splits a stream into ADTS frames. It reads no byte behind the frame that it is at; but after
/// bytes that belong to no frame, the header behind a frame must prove it.
class AdtsReader {
public:
    static constexpr std::size_t MostFrameBytes = 4616;
    static constexpr std::size_t MostWithoutFrame = 262144; ///< bytes; tags do not count
    static constexpr int NoFrame = -1;

    explicit AdtsReader(InputWindow::Read read)
        : m_window(std::move(read), MostFrameBytes + AdtsHeader::FixedBytes)
    {}

    /// Reads a frame with its header. Skips ID3v2 tags by their size and frames that do not fit.
    /// @param capacity  of `frame`
    /// @return its size; 0 at the end; NoFrame after MostWithoutFrame bytes
    int next(std::uint8_t* frame, std::size_t capacity);

private:
    void skip(std::uint64_t bytes);
    std::uint64_t tagBytes();
    bool isProven(AdtsHeader const& header);

    InputWindow m_window;
    bool m_lost = false; ///< looking for a frame
};

}} // namespace avr::host
