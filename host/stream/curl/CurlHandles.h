#pragma once

#include <curl/curl.h>

#include <memory>

namespace avr { namespace host {

/// What libcurl holds for one transfer.
struct CurlHandles {
    CurlHandles() = default;
    CurlHandles(CurlHandles const&) = delete;
    ~CurlHandles()
    {
        if (multi && easy)
            curl_multi_remove_handle(multi, easy);
        curl_easy_cleanup(easy);
        curl_multi_cleanup(multi);
        curl_slist_free_all(headers);
    }

    CURLM* multi = nullptr;
    CURL* easy = nullptr;
    curl_slist* headers = nullptr;
};

/// Destroys them on a thread of its own: while the system looks for a host that waits.
void abandon(std::unique_ptr<CurlHandles> handles);
/// Waits until all that were abandoned are gone.
void waitForAbandoned();

}} // namespace avr::host
