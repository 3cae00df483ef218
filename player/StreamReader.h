#pragma once

#include "platform/IReadableStream.h"

#include <cstddef>

namespace avr { namespace player {

/// Reads exactly so many bytes, waiting for them. @return false when that fails
bool readAll(Avr::Interface::IReadableStream& stream, void* to, std::size_t bytes);

/// A stream that is open and at its beginning while this object lives, and is there again
/// afterwards, or closed: where it was so before, or does not go back.
class StreamVisit {
public:
    explicit StreamVisit(Avr::Interface::IReadableStream& stream);
    ~StreamVisit();
    StreamVisit(StreamVisit const&) = delete;

    explicit operator bool() const { return m_isOpen; }

private:
    Avr::Interface::IReadableStream& m_stream;
    bool const m_wasOpen;
    bool const m_isOpen;
};

}} // namespace avr::player
