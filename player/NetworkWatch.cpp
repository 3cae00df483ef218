#include "NetworkWatch.h"

namespace avr { namespace player {

using host::NetworkStream;
using State = Status::State;

State NetworkWatch::state(bool isHeard) const
{
    constexpr std::chrono::seconds Long(2);
    if (!m_stream)
        return State::Playing;
    NetworkStream::Status const status = m_stream->status();
    if (status.phase == NetworkStream::Phase::Closed) // given up, or over: no better for that
        return m_told;
    if (status.phase == NetworkStream::Phase::Reconnecting)
        return State::Reconnecting;
    return status.silent >= Long && !isHeard ? State::Waiting : State::Playing;
}

std::string NetworkWatch::newWords(bool isHeard)
{
    bool const isOver = m_stream && (m_stream->status().phase == NetworkStream::Phase::Closed ||
                                     m_stream->GetErrorStatus() != 0);
    if (isOver) // nothing goes on any more
        return {};
    State const now = state(isHeard);
    unsigned int const attempt = now == State::Reconnecting ? m_stream->status().attempt : 0;
    if (now == m_told && attempt == m_attemptTold)
        return {};
    m_told = now;
    m_attemptTold = attempt;
    switch (now) {
    case State::Waiting:
        return "no data from the server; waiting";
    case State::Reconnecting:
        return "the connection broke; trying again (" + std::to_string(attempt) + ')';
    default:
        return "the data go on";
    }
}

}} // namespace avr::player
