#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace avr { namespace host {

/// What the network streams need of libcurl. It is built as a module of its own, beside the
/// platform's library, and loaded when the first network address is opened: it costs some 8 MB by
/// being loaded.

struct HttpRequest {
    std::string url;
    std::vector<std::string> headers;         ///< "Name: value"
    std::chrono::milliseconds connectLimit{}; ///< finding the host and connecting
    std::chrono::milliseconds stallLimit{};   ///< without a byte
};

/// The head of the final answer.
struct HttpAnswer {
    int status = 0;
    std::string url;                            ///< where redirects have led
    std::map<std::string, std::string> headers; ///< by name in lower case

    /// Empty when there is no such header.
    std::string header(const char* name) const
    {
        auto const found = headers.find(name);
        return found == headers.end() ? std::string() : found->second;
    }
};

enum class HttpResult {
    Ok,
    Interrupted, ///< by interrupt; nothing else has changed
    Finished,    ///< the body was delivered
    Cancelled,   ///< by cancel
    Dropped,     ///< the connection broke before its end
    Failed       ///< anything else; so would another try
};

/// Why there was no success.
struct HttpFault {
    int number = 0;   ///< an errno
    std::string text; ///< one line, for a person
};

/// One request and its answer. begin and read are one thread's at a time, the others' any thread's.
class HttpTransfer {
public:
    /// Ends it. Does not wait for anything.
    virtual ~HttpTransfer() = default;

    /// Sends the request, follows redirects and waits for the head of the answer.
    virtual HttpResult begin(HttpAnswer& answer) = 0;
    /// Waits for bytes of the body. After anything but Ok and Interrupted it answers so for good.
    /// @param got  receives how many have come: at least one when it is Ok
    virtual HttpResult read(void* to, std::size_t room, std::size_t& got) = 0;
    virtual HttpFault fault() const = 0;

    /// Ends a begin or read in progress, or the next read, once.
    virtual void interrupt() = 0;
    /// Ends those in progress and all later ones.
    virtual void cancel() = 0;
};

/// The module's entry.
struct HttpModule {
    std::unique_ptr<HttpTransfer> (*makeTransfer)(HttpRequest const& request);
    /// Transfers that ended while the system still looked for their host are given up behind their
    /// owner's back. Waits until none is left.
    void (*waitForAbandoned)();
};

/// Loads the module at the first call. @return null when it cannot be loaded
HttpModule const* httpModule(std::string& reason);

}} // namespace avr::host
