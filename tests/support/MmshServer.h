#pragma once

#include "MmshBody.h"
#include "ScriptedServer.h"

namespace avr { namespace test {

inline std::string textOf(Bytes const& bytes) { return {bytes.begin(), bytes.end()}; }

/// Sends a stream as a media server does: to those who first ask what it is the header alone, to
/// those who ask for it everything.
class MmshServer {
public:
    /// @param body    from the header on
    /// @param stalls  after the body, instead of ending
    explicit MmshServer(std::vector<Bytes> body, bool stalls = false)
        : m_header(textOf(body.front())), m_body(textOf(mmshBody(body))), m_stalls(stalls)
    {}

    std::string url() const
    {
        return "mms://127.0.0.1:" + std::to_string(m_server.port()) + "/tune";
    }
    std::vector<Request> requests() const { return m_server.requests(); }

private:
    void answer(Request const& request, Answer& to) const
    {
        bool const plays = request.headers.at("pragma").find("xPlayStrm=1") != std::string::npos;
        to.send("HTTP/1.0 200 OK\r\nContent-Type: application/x-mms-framed\r\n\r\n" +
                (plays ? m_body : m_header));
        if (plays && m_stalls)
            to.stall();
    }

    std::string const m_header, m_body;
    bool const m_stalls;
    ScriptedServer m_server{[this](Request const& request, Answer& to) { answer(request, to); }};
};

}} // namespace avr::test
