#pragma once

#include "HttpModule.h"

#include <curl/curl.h>

namespace avr { namespace host {

/// What a failed transfer means.
struct CurlFault {
    HttpResult result = HttpResult::Failed;
    HttpFault fault;
};

/// @param code   what libcurl answered
/// @param easy   its handle, which knows more
/// @param words  libcurl's own, for what is rare
CurlFault explainCurl(CURLcode code, CURL* easy, const char* words);

}} // namespace avr::host
