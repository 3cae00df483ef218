#include "PdtParser.h"

#include "platform/Utf16.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <locale>

namespace pdt {

namespace {

/// "TEXT" in UTF-16, with its terminator.
constexpr unsigned char pdtEventText[] = {'T', 0, 'E', 0, 'X', 0, 'T', 0, 0, 0};

} // namespace

void parser::reset()
{
    m_buffer.clear();
    m_complete = false;
    m_matched = 0;
}

void parser::append_data(unsigned char const* data, unsigned int length)
{
    if (m_buffer.empty())
        findMarker(data, data + length);
    else
        collect(data, length);
}

/// A byte that breaks a match off is not looked at again.
void parser::findMarker(unsigned char const* data, unsigned char const* end)
{
    unsigned int matched = m_matched; // not written for every byte
    while (data != end) {
        if (matched == 0 && *data != pdtEventText[0]) {
            auto const rest = static_cast<std::size_t>(end - data);
            void const* const begin = std::memchr(data, pdtEventText[0], rest);
            if (begin == nullptr)
                break;
            data = static_cast<unsigned char const*>(begin);
        }
        matched = *data++ == pdtEventText[matched] ? matched + 1 : 0;
        if (matched == sizeof pdtEventText) {
            m_buffer.assign(data, end);
            --matched; // where nothing follows, the next block's first byte may be this one again
            break;
        }
    }
    m_matched = matched;
}

void parser::collect(unsigned char const* data, unsigned int length)
{
    m_buffer.insert(m_buffer.end(), data, data + length);
    if (m_buffer.size() < 2) {
        std::cerr << "[pdt_parser::parse_data] few data" << std::endl;
        return reset();
    }
    constexpr unsigned char Terminator[] = {0, 0}; // at any byte, odd ones too
    auto const found =
        std::search(m_buffer.begin(), m_buffer.end(), std::begin(Terminator), std::end(Terminator));
    m_complete = found != m_buffer.end();
    if (m_complete)
        m_buffer.erase(found + sizeof Terminator, m_buffer.end());
    else if (m_buffer.size() > MostBytes)
        reset();
}

std::string get_property(std::string const& text, char const* key)
{
    std::size_t const length = std::strlen(key);
    std::size_t const at = length == 0 ? std::string::npos : text.find(key);
    if (at == std::string::npos)
        return {};
    std::string value = text.substr(at + length, text.find('|', at + length) - at - length);
    auto const isSpace = [](char c) { return std::isspace(c, std::locale::classic()); };
    value.erase(value.begin(), std::find_if_not(value.begin(), value.end(), isSpace));
    return value;
}

PdtTrackInfo track_info(std::vector<unsigned char> record)
{
    record.insert(record.end(), 2, 0); // text in Latin letters ends in half a terminator
    char text[256];
    unsigned int const bytes = convert_utf16_to_utf8(record.data(), text, sizeof text);
    std::string const fields(text, std::min<std::size_t>(bytes, sizeof text));
    return {get_property(fields, "ARTIST"), get_property(fields, "TITLE")};
}

} // namespace pdt
