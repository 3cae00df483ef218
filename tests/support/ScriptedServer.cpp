#include "ScriptedServer.h"

#include <algorithm>
#include <poll.h>
#include <sstream>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace avr { namespace test {

std::size_t Request::first() const
{
    auto const range = headers.find("range");
    return range == headers.end() ? 0 : std::stoul(range->second.substr(sizeof "bytes=" - 1));
}

/// @return whether the time is over; false when the other end or the server is gone
bool Answer::waitsInVain(int milliseconds) const
{
    pollfd ends[] = {{m_descriptor, POLLRDHUP, 0}, {m_quit, POLLIN, 0}};
    return ::poll(ends, 2, milliseconds) == 0;
}

void Answer::send(std::string const& bytes)
{
    for (std::size_t sent = 0; sent < bytes.size();) {
        pollfd ends[] = {{m_descriptor, POLLOUT | POLLRDHUP, 0}, {m_quit, POLLIN, 0}};
        ::poll(ends, 2, -1);
        ssize_t const now = ::send(m_descriptor, bytes.data() + sent, bytes.size() - sent,
                                   MSG_NOSIGNAL | MSG_DONTWAIT);
        if (ends[1].revents != 0 || (now < 0 && errno != EAGAIN))
            return;
        sent += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
}

void Answer::drip(std::string const& bytes, unsigned int bytesPerSecond)
{
    for (char const byte : bytes) {
        send(std::string(1, byte));
        if (!waitsInVain(static_cast<int>(1000 / bytesPerSecond)))
            return;
    }
}

void Answer::reset()
{
    linger const atOnce = {1, 0};
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

ScriptedServer::ScriptedServer(Script script)
    : m_script(std::move(script)), m_quit(::eventfd(0, EFD_CLOEXEC)),
      m_accepts([this] { acceptLoop(); })
{}

ScriptedServer::~ScriptedServer()
{
    ::eventfd_write(m_quit.descriptor(), 1);
    m_accepts.join();
    std::unique_lock<std::mutex> lock(m_lock);
    m_changed.wait(lock, [this] { return m_connections == 0; });
}

std::vector<Request> ScriptedServer::requests() const
{
    std::lock_guard<std::mutex> const guard(m_lock);
    return m_requests;
}

void ScriptedServer::waitForRequests(std::size_t count) const
{
    std::unique_lock<std::mutex> lock(m_lock);
    m_changed.wait(lock, [&] { return m_requests.size() >= count; });
}

void ScriptedServer::acceptLoop()
{
    for (;;) {
        pollfd ends[] = {{m_listener.descriptor(), POLLIN, 0}, {m_quit.descriptor(), POLLIN, 0}};
        ::poll(ends, 2, -1);
        if (ends[1].revents != 0)
            return;
        Socket connection(::accept4(m_listener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC));
        {
            std::lock_guard<std::mutex> const guard(m_lock);
            ++m_connections;
        }
        std::thread([this, taken = std::move(connection)]() mutable {
            serve(std::move(taken));
            std::lock_guard<std::mutex> const guard(m_lock);
            --m_connections;
            m_changed.notify_all();
        }).detach();
    }
}

void ScriptedServer::serve(Socket connection)
{
    Request request;
    if (!receive(connection, request))
        return;
    {
        std::lock_guard<std::mutex> const guard(m_lock);
        request.number = m_requests.size() + 1;
        m_requests.push_back(request);
        m_changed.notify_all();
    }
    Answer answer(connection.descriptor(), m_quit.descriptor());
    m_script(request, answer);
}

bool ScriptedServer::receive(Socket const& connection, Request& request) const
{
    std::string text;
    for (char byte; text.find("\r\n\r\n") == std::string::npos; text += byte) {
        pollfd ends[] = {{connection.descriptor(), POLLIN, 0}, {m_quit.descriptor(), POLLIN, 0}};
        ::poll(ends, 2, -1);
        if (ends[1].revents != 0 || ::recv(connection.descriptor(), &byte, 1, 0) != 1)
            return false;
    }
    std::istringstream lines(text);
    std::string line;
    lines >> request.method >> request.path;
    std::getline(lines, line);
    while (std::getline(lines, line) && line != "\r") {
        std::string name = line.substr(0, line.find(':'));
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return char(c >= 'A' && c <= 'Z' ? c + 32 : c); });
        std::string& value = request.headers[name];
        value += value.empty() ? "" : ", ";
        value += line.substr(name.size() + 2, line.size() - name.size() - 3);
    }
    return true;
}

std::string head(std::string const& status, std::string const& headers)
{
    return "HTTP/1.1 " + status + "\r\n" + headers + "Connection: close\r\n\r\n";
}

std::string fileHead(Request const& request, std::string const& data, std::string const& headers)
{
    std::string const size = std::to_string(data.size()), first = std::to_string(request.first());
    return head("206 Partial Content",
                "Content-Type: audio/mpeg\r\nContent-Range: bytes " + first + '-' +
                    std::to_string(data.size() - 1) + '/' + size + "\r\nContent-Length: " +
                    std::to_string(data.size() - request.first()) + "\r\n" + headers);
}

void giveFile(Request const& request, Answer& to, std::string const& data, std::size_t upTo,
              std::string const& headers)
{
    std::size_t const first = request.first(), end = std::min(upTo, data.size());
    to.send(fileHead(request, data, headers) + data.substr(first, end - std::min(first, end)));
}

}} // namespace avr::test
