#include "Address.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace avr { namespace host {

namespace {

constexpr char Hex[] = "0123456789ABCDEF";

/// @return negative when it is no hexadecimal digit
int hexValue(char digit)
{
    auto const upper = static_cast<char>(std::toupper(static_cast<unsigned char>(digit)));
    auto const at = std::string_view(Hex).find(upper);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

/// A "%" that is none of an escape stays.
std::string unescaped(std::string_view text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        bool const mayBe = text[at] == '%' && text.size() - at > 2;
        int const high = mayBe ? hexValue(text[at + 1]) : -1;
        int const low = mayBe ? hexValue(text[at + 2]) : -1;
        bool const isEscape = high >= 0 && low >= 0;
        result += isEscape ? static_cast<char>(high << 4 | low) : text[at];
        at += isEscape ? 2 : 0;
    }
    return result;
}

/// @param path  begins with a slash, as the result does
std::string withoutDots(std::string_view path)
{
    std::string result;
    while (!path.empty()) {
        std::string_view const step = path.substr(0, path.find('/', 1));
        path.remove_prefix(step.size());
        bool const isUp = step == "/..";
        if (isUp)
            result.erase(std::min(result.rfind('/'), result.size()));
        if (!isUp && step != "/.")
            result += step;
        else if (path.empty())
            result += '/';
    }
    return result;
}

std::string besidePath(std::string const& base, std::string const& relative)
{
    if (relative[0] == '/')
        return relative;
    std::string const path = base.substr(0, base.rfind('/') + 1) + relative;
    bool const isMistakable = path[0] == '-' || !schemeOf(path).empty();
    return isMistakable ? "./" + path : path;
}

/// @param scheme  of the base
std::string besideUrl(std::string const& base, std::size_t scheme, std::string const& relative)
{
    if (relative.compare(0, 2, "//") == 0)
        return base.substr(0, scheme + 1) + relative;
    std::size_t const path = std::min(base.find_first_of("/?#", scheme + 3), base.size());
    std::size_t const pathEnd = std::min(base.find_first_of("?#", path), base.size());
    if (relative[0] == '?')
        return base.substr(0, pathEnd) + relative;

    std::string folder = relative[0] == '/' ? "" : base.substr(path, pathEnd - path);
    folder.erase(folder.rfind('/') + 1);
    if (folder.empty() && relative[0] != '/')
        folder = "/";
    std::size_t const relativeEnd = std::min(relative.find_first_of("?#"), relative.size());
    return base.substr(0, path) + withoutDots(folder + relative.substr(0, relativeEnd)) +
           relative.substr(relativeEnd);
}

} // namespace

std::string schemeOf(std::string const& address)
{
    std::size_t const end = address.find("://");
    if (end == std::string::npos || !std::isalpha(static_cast<unsigned char>(address[0])))
        return {};
    std::string scheme = address.substr(0, end);
    for (char& c : scheme) {
        auto const byte = static_cast<unsigned char>(c);
        if (!std::isalnum(byte) && c != '+' && c != '-' && c != '.')
            return {};
        c = static_cast<char>(std::tolower(byte));
    }
    return scheme;
}

std::string pathOfFileUrl(std::string const& url)
{
    constexpr std::size_t HostAt = 7;
    if (schemeOf(url) != "file")
        return {};
    std::size_t const slash = url.find('/', HostAt);
    if (slash == std::string::npos)
        return {};
    std::string const host = url.substr(HostAt, slash - HostAt);
    std::string const path = unescaped(std::string_view(url).substr(slash));
    bool const isHere = host.empty() || host == "localhost";
    return isHere && path.find('\0') == std::string::npos ? path : std::string();
}

std::string escapedAddress(std::string const& url)
{
    std::string result;
    for (char c : url) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte < 0x7F &&
            std::string_view("\"<>\\^`{|}").find(c) == std::string::npos)
            result += c;
        else
            (result += '%').append({Hex[byte >> 4], Hex[byte & 0x0F]});
    }
    return result;
}

std::string withoutPassword(std::string const& address)
{
    std::string const scheme = schemeOf(address);
    if (scheme.empty())
        return address;
    std::size_t const begin = scheme.size() + 3;
    std::size_t const end = std::min(address.find_first_of("/?#", begin), address.size());
    std::size_t const at = address.substr(0, end).rfind('@');
    std::size_t const colon = address.find(':', begin);
    if (at == std::string::npos || at < begin || colon > at)
        return address;
    return address.substr(0, colon + 1) + "***" + address.substr(at);
}

std::string resolveAddress(std::string const& base, std::string relative)
{
    if (!schemeOf(relative).empty())
        return escapedAddress(relative);
    if (relative.find('/') == std::string::npos) // written on a system that has other ones
        std::replace(relative.begin(), relative.end(), '\\', '/');
    std::string const scheme = schemeOf(base);
    if (scheme == "file")
        return besidePath(pathOfFileUrl(base), relative);
    return scheme.empty() ? besidePath(base, relative)
                          : escapedAddress(besideUrl(base, scheme.size(), relative));
}

}} // namespace avr::host
