#include "CurlFault.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace avr { namespace host {

namespace {

std::string hostOf(CURL* easy)
{
    const char* url = nullptr;
    curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &url);
    std::unique_ptr<CURLU, void (*)(CURLU*)> const parts(curl_url(), curl_url_cleanup);
    char* host = nullptr;
    if (!url || !parts || curl_url_set(parts.get(), CURLUPART_URL, url, 0) != CURLUE_OK ||
        curl_url_get(parts.get(), CURLUPART_HOST, &host, 0) != CURLUE_OK)
        return "the server";
    std::string const name = host;
    curl_free(host);
    return name;
}

/// libcurl does not tell whether it was that, which could not be reached.
bool hasProxy()
{
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        if (std::getenv(name))
            return true;
    return false;
}

HttpFault connectFault(CURL* easy)
{
    long number = 0;
    curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &number);
    int const code = number != 0 ? static_cast<int>(number) : ECONNREFUSED;
    if (code == ECONNREFUSED)
        return {code, hostOf(easy) + " refuses the connection; check the address and its port" +
                          (hasProxy() ? ", and the proxy (http_proxy, https_proxy)" : "")};
    return {code,
            "cannot connect to " + hostOf(easy) + ": " + std::generic_category().message(code)};
}

/// Where libcurl does not go.
HttpFault wayFault(CURL* easy)
{
    long status = 0, connections = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(easy, CURLINFO_NUM_CONNECTS, &connections);
    if (status / 100 == 3)
        return {EINVAL, "the server sends it on to what is no address of http or https"};
    if (connections != 0)
        return {EPROTO, hostOf(easy) + " does not answer as a web server does"};
    return {EINVAL, "this is no address of http or https; check it"};
}

} // namespace

CurlFault explainCurl(CURLcode code, CURL* easy, const char* words)
{
    switch (code) {
    case CURLE_OK:
        return {HttpResult::Finished, {}};
    case CURLE_COULDNT_RESOLVE_PROXY:
        return {HttpResult::Failed,
                {EHOSTUNREACH, "the proxy is not found; check http_proxy and https_proxy"}};
    case CURLE_COULDNT_RESOLVE_HOST:
        return {HttpResult::Failed,
                {EHOSTUNREACH, "no host of the name " + hostOf(easy) +
                                   " is found; check the address and the network connection"}};
    case CURLE_COULDNT_CONNECT:
        return {HttpResult::Failed, connectFault(easy)};
    case CURLE_OPERATION_TIMEDOUT:
        return {HttpResult::Failed,
                {ETIMEDOUT, hostOf(easy) + " does not answer; try again later"}};
    case CURLE_PEER_FAILED_VERIFICATION:
        return {HttpResult::Failed,
                {EACCES, "the certificate of " + hostOf(easy) +
                             " is not trusted; check the address and this machine's clock (" +
                             std::string(words) + ')'}};
    case CURLE_SSL_CONNECT_ERROR:
        return {HttpResult::Failed,
                {EPROTO, hostOf(easy) + " does not speak https there; check the address"}};
    case CURLE_TOO_MANY_REDIRECTS:
        return {HttpResult::Failed, {ELOOP, "the server sends it on again and again"}};
    case CURLE_URL_MALFORMAT:
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
        return {HttpResult::Failed, wayFault(easy)};
    case CURLE_WRITE_ERROR: // a header is the only thing that is refused
        return {HttpResult::Failed, {EPROTO, "the server's answer is too long"}};
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return {HttpResult::Dropped, {ECONNRESET, "the connection to " + hostOf(easy) + " broke"}};
    case CURLE_OUT_OF_MEMORY:
        return {HttpResult::Failed,
                {ENOMEM, "the server's answer is longer than there is memory for"}};
    default:
        return {HttpResult::Failed, {EPROTO, *words != '\0' ? words : curl_easy_strerror(code)}};
    }
}

}} // namespace avr::host
