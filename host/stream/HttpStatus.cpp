#include "HttpStatus.h"

#include <cerrno>

namespace avr { namespace host {

HttpFault httpStatusFault(int status)
{
    std::string const number = " (status " + std::to_string(status) + ")";
    switch (status) {
    case 401:
    case 403:
    case 407:
        return {EACCES, "the server does not give it to everybody" + number};
    case 404:
    case 410:
        return {ENOENT, "the server does not have it" + number + "; check the address"};
    case 416:
        return {ENODATA, "the file on the server is empty; there is nothing to play"};
    case 429:
    case 503:
        return {EBUSY, "the server is too busy" + number + "; try again later"};
    default:
        return {EPROTO, status >= 500 ? "the server has a problem" + number + "; try again later"
                                      : "the server does not answer with it" + number};
    }
}

}} // namespace avr::host
