#pragma once

#include <condition_variable>
#include <mutex>
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

/// What threads wait at until it is open.
class Gate {
public:
    void open()
    {
        std::lock_guard<std::mutex> const guard(m_lock);
        m_isOpen = true;
        m_changed.notify_all();
    }
    void wait()
    {
        std::unique_lock<std::mutex> lock(m_lock);
        m_changed.wait(lock, [this] { return m_isOpen; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};

}} // namespace avr::test
