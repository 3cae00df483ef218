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

struct Range {
    std::uint32_t first, last;
};
/// East Asian scripts, and pictures.
constexpr Range Wide[] = {
    {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},  {0xA960, 0xA97C},
    {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6},
    {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
/// What is drawn over the character before it, or not at all.
constexpr Range Narrow[] = {{0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD},
                            {0x064B, 0x065F}, {0x200B, 0x200F}, {0x202A, 0x202E},
                            {0x20D0, 0x20F0}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

template <std::size_t Count>
bool isIn(Range const (&ranges)[Count], std::uint32_t code)
{
    return std::any_of(std::begin(ranges), std::end(ranges), [code](Range const& range) {
        return code >= range.first && code <= range.last;
    });
}

/// The character at a place, and how many bytes it has. What is no UTF-8 is one of one byte.
std::uint32_t characterAt(std::string const& text, std::size_t at, std::size_t& bytes)
{
    auto const byte = [&text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    unsigned const lead = byte(at);
    std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
    std::uint32_t code = length == 1 ? lead : lead & (0x7Fu >> length);
    for (bytes = 1; bytes < length; ++bytes) {
        if ((byte(at + bytes) & 0xC0) != 0x80)
            break;
        code = code << 6 | (byte(at + bytes) & 0x3F);
    }
    return code;
}

/// A mark that makes all that follows run the other way.
bool turnsText(std::string const& text, std::size_t at)
{
    constexpr Range Marks[] = {{0x200E, 0x200F}, {0x202A, 0x202E}, {0x2066, 0x2069}};
    std::size_t bytes = 0;
    std::uint32_t const code = characterAt(text, at, bytes);
    return bytes == 3 && isIn(Marks, code);
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
        else if (turnsText(result, i))
            result.replace(i, 3, "?");
    }
    return result;
}

std::string cutToColumns(std::string const& text, std::size_t columns)
{
    std::size_t used = 0;
    std::size_t at = 0;
    for (std::size_t bytes = 0; at < text.size(); at += bytes) {
        std::uint32_t const code = characterAt(text, at, bytes);
        used += isIn(Narrow, code) ? 0 : isIn(Wide, code) ? 2 : 1;
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
