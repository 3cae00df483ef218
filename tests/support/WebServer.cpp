#include "WebServer.h"

#include "Loopback.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace avr { namespace test {

namespace {

constexpr const char* Program = "/usr/sbin/lighttpd";
constexpr int PortAttempts = 10;

/// A key of its own and a certificate for this machine's loopback address, in one file.
void makeCertificate(std::string const& path)
{
    std::string const command =
        "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost "
        "-addext subjectAltName=IP:127.0.0.1 -keyout " +
        path + ".key -out " + path + " 2>/dev/null && cat " + path + ".key >>" + path;
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("openssl makes no certificate (scripts/install-deps installs it)");
}

std::string configuration(std::string const& directory, unsigned int port, unsigned int securePort)
{
    return "server.document-root = \"" + directory + "\"\n" +
           "server.bind = \"127.0.0.1\"\nserver.port = " + std::to_string(port) + R"conf(
server.modules = ("mod_access", "mod_redirect", "mod_cgi", "mod_openssl")
mimetype.assign = (".mp3" => "audio/mpeg", ".flac" => "audio/flac", ".ogg" => "audio/ogg",
    ".wav" => "audio/x-wav", ".aac" => "audio/aac", ".m4a" => "audio/mp4",
    ".wma" => "audio/x-ms-wma", ".m3u" => "audio/x-mpegurl; charset=utf-8",
    ".pls" => "audio/x-scpls")
url.redirect = ("^/moved/(.*)" => "/$1")
url.access-deny = (".denied")
server.stream-response-body = 2
cgi.assign = (".cgi" => "/bin/sh")
)conf" +
           "$SERVER[\"socket\"] == \"127.0.0.1:" + std::to_string(securePort) +
           "\" {\n    ssl.engine = \"enable\"\n    ssl.pemfile = \"" + directory +
           "certificate\"\n}\n";
}

} // namespace

WebServer::WebServer()
{
    serve("live.cgi", "printf 'Content-Type: audio/mpeg\\r\\n\\r\\n'; cat \"$QUERY_STRING\"\n");
    makeCertificate(certificate());
    for (int attempt = 0; attempt < PortAttempts; ++attempt)
        if (start())
            return;
    throw std::runtime_error("lighttpd does not start (scripts/install-deps installs it): " +
                             contentOf(m_dir.file("log")));
}

WebServer::~WebServer()
{
    kill(m_process, SIGKILL); // it is slow to hear the others
    waitpid(m_process, nullptr, 0);
}

void WebServer::serve(std::string const& name, std::string const& content) const
{
    store(m_dir.file(name), content);
}

std::string WebServer::url(std::string const& path) const { return loopbackUrl(m_port, path); }

std::string WebServer::secureUrl(std::string const& path) const
{
    return "https" + loopbackUrl(m_securePort, path).substr(4);
}

std::string WebServer::certificate() const { return m_dir.file("certificate"); }

/// Somebody else may take the port first; then the server ends at once.
bool WebServer::start()
{
    m_port = listenOnLoopback(1).port();
    m_securePort = listenOnLoopback(1).port();
    std::string conf = m_dir.file("conf"), log = m_dir.file("log");
    store(conf, configuration(m_dir.file(""), m_port, m_securePort));
    // It ends by itself when nobody has asked it for long: then the tests have crashed.
    const char* const arguments[] = {Program, "-D", "-i", "300", "-f", conf.c_str(), nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, log.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    int const error = posix_spawn(&m_process, Program, &files, nullptr,
                                  const_cast<char* const*>(arguments), environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        store(log, std::strerror(error));
        return false;
    }
    bool ended = false;
    bool const settled = eventually([&] {
        ended = waitpid(m_process, nullptr, WNOHANG) == m_process;
        return ended || connectsTo(m_port);
    });
    return settled && !ended;
}

}} // namespace avr::test
