#include "CurlTransfer.h"

#include "LowerCase.h"

#include "decoder/Export.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <sys/socket.h>

namespace avr { namespace host {

using std::chrono::milliseconds;

namespace {

constexpr long LargestChunk = 64 * 1024; ///< that libcurl brings at once
constexpr long MostRedirects = 10;
/// libcurl watches the time for connecting too, but behind our back, and when it is over while the
/// system looks for the host, it waits for the system. So it must be later than ours.
constexpr milliseconds LaterLimit{1000};
constexpr std::size_t MostHeaderBytes = 64 * 1024;

} // namespace

CurlTransfer::CurlTransfer(HttpRequest const& request)
    : m_connectLimit(request.connectLimit), m_stallLimit(request.stallLimit)
{
    m_curl->multi = curl_multi_init();
    m_curl->easy = curl_easy_init();
    m_ready = m_curl->multi && m_curl->easy;
    for (std::string const& header : request.headers)
        if (curl_slist* const longer = curl_slist_append(m_curl->headers, header.c_str()))
            m_curl->headers = longer;
        else
            m_ready = false;
    if (m_ready)
        setUp(request);
    if (m_ready)
        setCallbacks();
    m_ready = m_ready && curl_multi_add_handle(m_curl->multi, m_curl->easy) == CURLM_OK;
}

CurlTransfer::~CurlTransfer()
{
    if (m_lookingUp) {
        curl_easy_setopt(m_curl->easy, CURLOPT_ERRORBUFFER, nullptr);
        abandon(std::move(m_curl));
    }
    m_curl.reset(); // while all that it calls is still there
}

void CurlTransfer::setUp(HttpRequest const& request)
{
    set(CURLOPT_URL, request.url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, MostRedirects);
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L); // a proxy's word is not the server's answer
    set(CURLOPT_HTTPHEADER, m_curl->headers);
    // Old radio servers begin their answer so.
    static curl_slist* const radio = curl_slist_append(nullptr, "ICY 200 OK");
    set(CURLOPT_HTTP200ALIASES, radio);
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>((m_connectLimit + LaterLimit).count()));
    set(CURLOPT_BUFFERSIZE, LargestChunk);
    set(CURLOPT_TCP_KEEPALIVE, 1L);
    set(CURLOPT_NOSIGNAL, 1L);
    // As TLS libraries have it; a board may keep its certificates elsewhere.
    if (const char* const certificates = std::getenv("SSL_CERT_FILE"))
        set(CURLOPT_CAINFO, certificates);
    set(CURLOPT_ERRORBUFFER, m_words);
}

void CurlTransfer::setCallbacks()
{
    set(CURLOPT_WRITEFUNCTION, onBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_HEADERFUNCTION, onHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_RESOLVER_START_FUNCTION, onLookUp);
    set(CURLOPT_RESOLVER_START_DATA, this);
    set(CURLOPT_OPENSOCKETFUNCTION, onSocket);
    set(CURLOPT_OPENSOCKETDATA, this);
    set(CURLOPT_PREREQFUNCTION, onConnected);
    set(CURLOPT_PREREQDATA, this);
}

int CurlTransfer::onLookUp(void*, void*, void* self)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.m_lookingUp = true;
    transfer.m_connected = false;
    transfer.m_progressAt = Clock::now();
    return 0;
}

curl_socket_t CurlTransfer::onSocket(void* self, curlsocktype, curl_sockaddr* address)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.m_lookingUp = false;
    if (std::exchange(transfer.m_connected, false)) // somewhere else, and then sent on
        transfer.m_progressAt = Clock::now();
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

int CurlTransfer::onConnected(void* self, char*, char*, int, int)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.m_lookingUp = false;
    transfer.m_connected = true;
    transfer.m_progressAt = Clock::now();
    return CURL_PREREQFUNC_OK;
}

std::size_t CurlTransfer::onHeader(char* data, std::size_t, std::size_t bytes, void* self)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.m_headerBytes += bytes; // and no progress: all of it has to come within the limit
    if (transfer.m_headIsWhole)      // what comes behind a body in chunks
        return bytes;
    if (transfer.m_headerBytes > MostHeaderBytes)
        return 0;
    transfer.takeHeaderLine(std::string(data, bytes));
    return bytes;
}

/// Each answer on the way begins with a line without a colon and ends with an empty one.
void CurlTransfer::takeHeaderLine(std::string const& line)
{
    std::size_t const end = line.find_last_not_of("\r\n") + 1;
    std::size_t const colon = line.find(':');
    long status = 0;
    curl_easy_getinfo(m_curl->easy, CURLINFO_RESPONSE_CODE, &status);
    m_answer.status = static_cast<int>(status);
    bool const leadsOn =
        status / 100 == 1 || (status / 100 == 3 && !m_answer.header("location").empty());
    if (end == 0) {
        m_headIsWhole = !leadsOn;
    } else if (line.compare(0, 5, "HTTP/") == 0 || line.compare(0, 4, "ICY ") == 0) {
        m_answer.headers.clear();
    } else if (colon < end) {
        std::string const name = lowerCase(line.substr(0, colon));
        std::size_t const value = line.find_first_not_of(" \t", colon + 1);
        m_answer.headers[name] = value < end ? line.substr(value, end - value) : std::string();
    }
}

std::size_t CurlTransfer::onBody(char* data, std::size_t, std::size_t bytes, void* self)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    if (transfer.m_restTaken < transfer.m_rest.size()) {
        transfer.m_paused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    transfer.m_progressAt = Clock::now();
    return transfer.take(reinterpret_cast<const std::uint8_t*>(data), bytes);
}

std::size_t CurlTransfer::take(const std::uint8_t* data, std::size_t bytes)
{
    std::size_t const direct = std::min(bytes, m_room - m_filled);
    if (direct != 0)
        std::memcpy(m_to + m_filled, data, direct);
    m_filled += direct;
    m_rest.assign(data + direct, data + bytes);
    m_restTaken = 0;
    return bytes;
}

HttpResult CurlTransfer::begin(HttpAnswer& answer)
{
    if (!m_ready)
        return fail(ENOMEM, "the network cannot be used: out of memory");
    m_progressAt = Clock::now();
    HttpResult const result = drive(&CurlTransfer::hasHead);
    if (result != HttpResult::Ok)
        return result == HttpResult::Finished ? fail(EPROTO, "the server's answer is broken")
                                              : result;
    const char* url = nullptr;
    curl_easy_getinfo(m_curl->easy, CURLINFO_EFFECTIVE_URL, &url);
    m_answer.url = url ? url : "";
    answer = m_answer;
    return HttpResult::Ok;
}

HttpResult CurlTransfer::read(void* to, std::size_t room, std::size_t& got)
{
    m_to = static_cast<std::uint8_t*>(to);
    m_room = room;
    m_filled = 0;
    HttpResult result = HttpResult::Ok;
    if (takeRest() == 0)
        result = drive(&CurlTransfer::hasBytes);
    got = m_filled;
    m_to = nullptr;
    m_room = m_filled = 0;
    return result;
}

/// What was put aside at the last call.
std::size_t CurlTransfer::takeRest()
{
    m_filled = std::min(m_room, m_rest.size() - m_restTaken);
    if (m_filled != 0)
        std::memcpy(m_to, m_rest.data() + m_restTaken, m_filled);
    m_restTaken += m_filled;
    return m_filled;
}

/// Runs the transfer until it has what is wanted.
HttpResult CurlTransfer::drive(bool (CurlTransfer::*done)() const)
{
    m_progressAt = Clock::now(); // nobody has run it since the last call
    if (std::exchange(m_paused, false))
        curl_easy_pause(m_curl->easy, CURLPAUSE_CONT);
    for (;;) {
        if (m_cancelled)
            return HttpResult::Cancelled;
        if (!m_ended && !makeProgress())
            return fail(EIO, "the network library failed");
        if ((this->*done)())
            return HttpResult::Ok;
        if (m_ended)
            return m_fault.result;
        if (m_interrupted.exchange(false))
            return HttpResult::Interrupted;
        auto const silent = std::chrono::duration_cast<milliseconds>(Clock::now() - m_progressAt);
        milliseconds const limit = m_connected ? m_stallLimit : m_connectLimit;
        if (silent >= limit)
            return fail(ETIMEDOUT,
                        m_headIsWhole ? "the server sends nothing more; try again later"
                        : m_lookingUp
                            ? "the host is not found in time; check the network connection"
                            : "the server does not answer; try again later");
        curl_multi_poll(m_curl->multi, nullptr, 0, static_cast<int>((limit - silent).count()),
                        nullptr);
    }
}

bool CurlTransfer::makeProgress()
{
    int running = 0;
    if (curl_multi_perform(m_curl->multi, &running) != CURLM_OK)
        return false;
    if (running == 0)
        noteEnd();
    return true;
}

void CurlTransfer::noteEnd()
{
    int left = 0;
    while (CURLMsg const* const message = curl_multi_info_read(m_curl->multi, &left))
        if (message->msg == CURLMSG_DONE) {
            m_ended = true;
            m_lookingUp = false;
            m_fault = explainCurl(message->data.result, m_curl->easy, m_words);
        }
}

HttpResult CurlTransfer::fail(int number, const char* text)
{
    m_ended = true;
    m_fault = {HttpResult::Failed, {number, text}};
    return m_fault.result;
}

static std::unique_ptr<HttpTransfer> makeTransfer(HttpRequest const& request)
{
    return std::make_unique<CurlTransfer>(request);
}

/// Before anything else of libcurl, and on one thread.
[[maybe_unused]] CURLcode const begun = curl_global_init(CURL_GLOBAL_DEFAULT);

extern "C" AVR_API const HttpModule avr_http_module;
const HttpModule avr_http_module = {makeTransfer, waitForAbandoned};

}} // namespace avr::host
