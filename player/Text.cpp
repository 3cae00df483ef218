#include "Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>

#include <system_error>

#include <poll.h>
#include <unistd.h>

namespace avr { namespace player {

namespace {

constexpr std::uint32_t Billion = 1000000000;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Digits from `at` on, at least one. @return false when there is none or too large a number
bool readNumber(std::string const& text, std::size_t& at, std::uint64_t& number)
{
    std::size_t const begin = at;
    number = 0;
    for (; at < text.size() && isDigit(text[at]); ++at) {
        number = number * 10 + std::uint64_t(text[at] - '0');
        if (number > std::numeric_limits<std::uint32_t>::max())
            return false;
    }
    return at > begin;
}

/// ".25" to the end of the text; digits past the ninth are dropped.
bool readFraction(std::string const& text, std::size_t at, std::uint32_t& nanoseconds)
{
    nanoseconds = 0;
    if (at == text.size())
        return true;
    if (text[at] != '.' || at + 1 == text.size())
        return false;
    std::uint32_t unit = Billion / 10;
    for (++at; at < text.size() && isDigit(text[at]); ++at, unit /= 10)
        nanoseconds += std::uint32_t(text[at] - '0') * unit;
    return at == text.size();
}

/// Wide characters (East Asian scripts, symbols) are taken to be two columns.
std::size_t columnsOf(unsigned char lead)
{
    if ((lead & 0xC0) == 0x80)
        return 0;
    return lead >= 0xE1 ? 2 : 1;
}

} // namespace

std::string printable(std::string const& text)
{
    std::string result = text;
    for (std::size_t i = 0; i < result.size(); ++i) {
        auto const c = static_cast<unsigned char>(result[i]);
        auto const next = static_cast<unsigned char>(i + 1 < result.size() ? result[i + 1] : 0);
        if (c < 0x20 || c == 0x7F)
            result[i] = '?';
        else if (c == 0xC2 && next >= 0x80 && next < 0xA0) // the second set of controls, in UTF-8
            result.replace(i, 2, "?");
    }
    return result;
}

std::string cutToColumns(std::string const& text, std::size_t columns)
{
    std::size_t used = 0;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        used += columnsOf(static_cast<unsigned char>(text[at]));
        if (used > columns)
            break;
    }
    return text.substr(0, at);
}

std::string timeText(double seconds)
{
    auto const whole = static_cast<unsigned long long>(seconds > 0 ? seconds : 0);
    auto const twoDigits = [](unsigned long long n) {
        return (n < 10 ? ":0" : ":") + std::to_string(n);
    };
    if (whole < 3600)
        return std::to_string(whole / 60) + twoDigits(whole % 60);
    return std::to_string(whole / 3600) + twoDigits(whole / 60 % 60) + twoDigits(whole % 60);
}

bool parseTime(std::string const& text, kiv::appli::TimeSpec& time)
{
    std::uint64_t total = 0;
    std::size_t at = 0;
    for (int field = 0; field < 3; ++field) {
        std::uint64_t number = 0;
        if (!readNumber(text, at, number) || (field > 0 && number >= 60))
            return false;
        total = total * 60 + number;
        if (total > std::numeric_limits<std::uint32_t>::max())
            return false;
        if (at == text.size() || text[at] != ':')
            break;
        ++at;
    }
    time.seconds = static_cast<std::uint32_t>(total);
    return readFraction(text, at, time.nanoseconds);
}

double toSeconds(kiv::appli::TimeSpec const& time)
{
    return time.seconds + double(time.nanoseconds) / Billion;
}

kiv::appli::TimeSpec toTimeSpec(double seconds)
{
    double const longest = std::numeric_limits<std::uint32_t>::max();
    double const inside = std::min(std::max(seconds, 0.0), longest);
    auto const whole = static_cast<std::uint32_t>(inside);
    return {whole, std::min(static_cast<std::uint32_t>((inside - whole) * Billion), Billion - 1)};
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

std::string errnoText(int number)
{
    std::string text = std::generic_category().message(number);
    text[0] = lowerCase(text.substr(0, 1))[0];
    return text;
}

int writeText(int descriptor, std::string const& text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t const n = ::write(descriptor, text.data() + done, text.size() - done);
        if (n < 0 && errno == EAGAIN) { // a pipe that does not block, and is full
            pollfd room{descriptor, POLLOUT, 0};
            poll(&room, 1, -1);
        } else if (n < 0 && errno != EINTR) {
            return errno;
        }
        done += n > 0 ? static_cast<std::size_t>(n) : 0;
    }
    return 0;
}

}} // namespace avr::player
