#include "OpenStream.h"

#include "Address.h"
#include "FileStream.h"
#include "HttpStream.h"
#include "MmsStream.h"

#include <boost/make_shared.hpp>

namespace avr { namespace host {

namespace {

bool isMms(std::string const& scheme) { return scheme == "mms" || scheme == "mmsh"; }

bool isHttp(std::string const& scheme) { return scheme == "http" || scheme == "https"; }

} // namespace

boost::shared_ptr<Avr::Interface::IReadableStream>
makeStream(std::string const& address, NetworkLimits const& limits, std::string& error)
{
    std::string const scheme = schemeOf(address);
    // The decoders look for schemes in small letters.
    std::string const url = escapedAddress(scheme + address.substr(scheme.size()));
    if (isHttp(scheme))
        return boost::make_shared<HttpStream>(url, limits);
    if (isMms(scheme))
        return boost::make_shared<MmsStream>(url, limits);
    std::string const path = localPath(address);
    if (!path.empty())
        return boost::make_shared<FileStream>(path);
    error = scheme == "file"
                ? "an address of another machine's file; copy the file, or serve it"
                : "addresses of " + scheme + ":// are not played; http, https, mms and file are";
    return nullptr;
}

bool isNetworkAddress(std::string const& address)
{
    std::string const scheme = schemeOf(address);
    return isHttp(scheme) || isMms(scheme);
}

std::string localPath(std::string const& address)
{
    std::string const scheme = schemeOf(address);
    if (scheme == "file")
        return pathOfFileUrl(address);
    if (!scheme.empty())
        return {};
    return address == "-" ? "/dev/stdin" : address;
}

}} // namespace avr::host
