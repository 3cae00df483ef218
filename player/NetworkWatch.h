#pragma once

#include "Display.h"

#include "stream/NetworkStream.h"

#include <boost/shared_ptr.hpp>

namespace avr { namespace player {

/// What a listener should know of a stream that comes over the network. Main loop only.
class NetworkWatch {
public:
    /// @param stream  null: nothing ever happens
    explicit NetworkWatch(boost::shared_ptr<host::NetworkStream> stream)
        : m_stream(std::move(stream))
    {}

    /// How to show a track that plays, as far as the network goes.
    /// @param isHeard  there is sound, whatever the network does
    Status::State state(bool isHeard) const;
    /// One line, when things have got worse or better since the last call.
    std::string newWords(bool isHeard);

private:
    boost::shared_ptr<host::NetworkStream> const m_stream;
    Status::State m_told = Status::State::Playing;
    unsigned int m_attemptTold = 0;
};

}} // namespace avr::player
