#include "NetworkWatch.h"

namespace avr { namespace player {

using host::NetworkStream;
using State = Status::State;

State NetworkWatch::state() const
{
    constexpr std::chrono::seconds Long(2);
    if (!m_stream)
        return State::Playing;
    NetworkStream::Status const status = m_stream->status();
    if (status.phase == NetworkStream::Phase::Reconnecting)
        return State::Reconnecting;
    return status.silent >= Long ? State::Waiting : State::Playing;
}

std::string NetworkWatch::newWords()
{
    State const now = state();
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

std::optional<std::string> NetworkWatch::newTitle(unsigned long long delivered,
                                                  unsigned long long taken)
{
    if (!m_stream)
        return {};
    if (auto text = m_stream->newTitle())
        m_next = Title{std::move(*text), delivered};
    if (!m_next || m_next->from > taken)
        return {};
    std::string text = std::move(m_next->text);
    m_next.reset();
    return text;
}

}} // namespace avr::player
