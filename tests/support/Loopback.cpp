#include "Loopback.h"

#include <arpa/inet.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace avr { namespace test {

namespace {

Socket newSocket(int flags = 0)
{
    return Socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

int connectTo(Socket const& socket, unsigned int port)
{
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ::connect(socket.descriptor(), reinterpret_cast<sockaddr*>(&to), sizeof to);
}

} // namespace

Socket::~Socket()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

unsigned int Socket::port() const
{
    sockaddr_in own = {};
    socklen_t size = sizeof own;
    ::getsockname(m_descriptor, reinterpret_cast<sockaddr*>(&own), &size);
    return ntohs(own.sin_port);
}

Socket listenOnLoopback(int backlog)
{
    Socket listener = newSocket();
    sockaddr_in own = {};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener.descriptor(), reinterpret_cast<sockaddr*>(&own), sizeof own) != 0 ||
        ::listen(listener.descriptor(), backlog) != 0)
        throw std::runtime_error("no port to listen on");
    return listener;
}

bool connectsTo(unsigned int port) { return connectTo(newSocket(), port) == 0; }

std::string loopbackUrl(unsigned int port, std::string const& path)
{
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

DeadPort::DeadPort() : m_first(newSocket()), m_second(newSocket(SOCK_NONBLOCK))
{
    connectTo(m_first, port());
    connectTo(m_second, port());
}

}} // namespace avr::test
