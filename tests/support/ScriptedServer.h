#pragma once

#include "Loopback.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace avr { namespace test {

struct Request {
    std::size_t number = 0; ///< from 1
    std::string method, path;
    std::map<std::string, std::string> headers; ///< by name in lower case, joined by ", "
    /// First byte of the range that is asked for.
    std::size_t first() const;
};

/// The server's end of one connection. Everything returns early when the other end or the server
/// is gone.
class Answer {
public:
    Answer(int descriptor, int quit) : m_descriptor(descriptor), m_quit(quit) {}
    void send(std::string const& bytes);
    /// A byte at a time.
    void drip(std::string const& bytes, unsigned int bytesPerSecond);
    /// Sends nothing more until the other end is gone.
    void stall() { waitsInVain(-1); }
    /// Breaks the connection as a machine does that has lost its memory.
    void reset();

private:
    bool waitsInVain(int milliseconds) const;
    int const m_descriptor;
    int const m_quit; ///< can be read from when the server ends
};

/// Answers each request as it is told to, on a thread of its own, and then closes the connection.
class ScriptedServer {
public:
    using Script = std::function<void(Request const&, Answer&)>;
    explicit ScriptedServer(Script script);
    ~ScriptedServer();

    unsigned int port() const { return m_listener.port(); }
    std::string url(std::string const& path = "/tune.mp3") const
    {
        return loopbackUrl(port(), path);
    }
    std::vector<Request> requests() const;
    /// Waits until so many have come.
    void waitForRequests(std::size_t count) const;

private:
    void acceptLoop();
    void serve(Socket connection);
    bool receive(Socket const& connection, Request& request) const;

    Script const m_script;
    Socket const m_listener = listenOnLoopback(64);
    Socket const m_quit;
    mutable std::mutex m_lock; ///< guards what follows
    mutable std::condition_variable m_changed;
    std::vector<Request> m_requests;
    unsigned int m_connections = 0;
    std::thread m_accepts;
};

/// "HTTP/1.1 STATUS", the headers, each "Name: value\r\n", and an empty line.
std::string head(std::string const& status, std::string const& headers = {});
/// The head of a file, or of its end.
std::string fileHead(Request const& request, std::string const& data,
                     std::string const& headers = {});
/// A file as a server gives it, or its end, up to where it breaks off.
void giveFile(Request const& request, Answer& to, std::string const& data,
              std::size_t upTo = std::string::npos, std::string const& headers = {});

}} // namespace avr::test
