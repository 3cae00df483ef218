#pragma once

#include "Display.h"

#include "stream/NetworkStream.h"

#include <boost/shared_ptr.hpp>

#include <optional>

namespace avr { namespace player {

/// What a listener should know of a stream that comes over the network. Main loop only.
class NetworkWatch {
public:
    /// @param stream  null: nothing ever happens
    explicit NetworkWatch(boost::shared_ptr<host::NetworkStream> stream)
        : m_stream(std::move(stream))
    {}

    /// How to show a track that plays, as far as the network goes.
    Status::State state() const;
    /// One line, when things have got worse or better since the last call.
    std::string newWords();

    /// A title that is heard now, when it is another one.
    /// @param delivered  bytes that the output has been given
    /// @param taken      bytes that it has played
    std::optional<std::string> newTitle(unsigned long long delivered, unsigned long long taken);

private:
    struct Title {
        std::string text;
        unsigned long long from; ///< the byte of the PCM
    };

    boost::shared_ptr<host::NetworkStream> const m_stream;
    Status::State m_told = Status::State::Playing;
    unsigned int m_attemptTold = 0;
    std::optional<Title> m_next; ///< decoded, and not heard yet
};

}} // namespace avr::player
