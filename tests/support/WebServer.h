#pragma once

#include "TempDir.h"

#include <string>
#include <sys/types.h>

namespace avr { namespace test {

/// A real web server, lighttpd, on a free port of this machine. It serves a directory that is gone
/// with it. It gives files in parts, with their content types, and besides:
///
///   /moved/NAME       sends on to /NAME
///   /NAME.denied      is given to nobody
///   /live.cgi?NAME    the file without a length, in chunks
///
/// It speaks https on another port, with a certificate that nobody has signed.
class WebServer {
public:
    /// @throws std::runtime_error when it does not start, as it does when it is not installed
    WebServer();
    ~WebServer();

    void serve(std::string const& name, std::string const& content) const;
    std::string url(std::string const& path) const;
    std::string secureUrl(std::string const& path) const;
    std::string certificate() const; ///< a file

private:
    bool start();

    TempDir m_dir;
    unsigned int m_port = 0, m_securePort = 0;
    pid_t m_process = 0;
};

}} // namespace avr::test
