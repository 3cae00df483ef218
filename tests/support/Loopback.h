#pragma once

#include <string>

namespace avr { namespace test {

class Socket {
public:
    explicit Socket(int descriptor) : m_descriptor(descriptor) {}
    Socket(Socket&& other) noexcept : m_descriptor(other.m_descriptor) { other.m_descriptor = -1; }
    ~Socket();
    int descriptor() const { return m_descriptor; }
    unsigned int port() const;

private:
    int m_descriptor;
};

/// Listens on a free port of this machine.
Socket listenOnLoopback(int backlog);
/// @return whether somebody listens there
bool connectsTo(unsigned int port);
std::string loopbackUrl(unsigned int port, std::string const& path);

/// A port that a connection to is never made: nobody accepts, and the queue is full.
class DeadPort {
public:
    DeadPort();
    unsigned int port() const { return m_listener.port(); }

private:
    Socket m_listener = listenOnLoopback(0);
    Socket m_first, m_second;
};

}} // namespace avr::test
