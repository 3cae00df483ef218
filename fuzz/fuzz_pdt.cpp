// A stream's bytes, in blocks: the titles' records are found where the plainest scan finds them,
// and their text becomes UTF-8 within bounds. Each block begins with a byte that tells its size.
#include "PdtParser.h"
#include "PlainScan.h"
#include "platform/Utf16.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>

using namespace avr::test;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Whether the text is made of whole characters.
bool isUtf8(std::string const& text)
{
    std::size_t left = 0;
    for (char c : text) {
        auto const byte = static_cast<unsigned char>(c);
        if ((byte >> 6 == 2) != (left != 0))
            return false;
        left = left != 0 ? left - 1 : byte < 0x80 ? 0 : byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
    }
    return left == 0;
}

void convert(std::vector<unsigned char> record, std::size_t size)
{
    require(record.size() >= 2 && record.back() == 0 && record[record.size() - 2] == 0);
    record.insert(record.end(), 2, 0);
    std::vector<char> text(size, 'x');
    unsigned int const bytes =
        convert_utf16_to_utf8(record.data(), text.data(), static_cast<unsigned int>(size));
    require(bytes <= size);
    std::string const fields(text.data(), bytes);
    require(isUtf8(fields) && std::memchr(fields.data(), 0, fields.size()) == nullptr);
    for (const char* key : {"ARTIST", "TITLE", "", "\xC3"}) {
        std::string const value = pdt::get_property(fields, key);
        require(value.size() <= fields.size() && value.find('|') == std::string::npos);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    std::cerr.rdbuf(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    pdt::parser parser;
    PlainScan plain;
    for (std::size_t at = 0; at < size;) {
        std::size_t const wanted = data[at] < 250 ? data[at] : 4000u;
        std::size_t const most = std::min(wanted, size - ++at);
        std::vector<unsigned char> const block(data + at, data + at + most);
        at += most;
        bool const wasIdle = parser.buffer().empty();
        parser.append_data(block.data(), static_cast<unsigned int>(most));
        if (wasIdle)
            require(parser.buffer() == plain.rest(block.data(), most));
        else if (parser.buffer().empty())
            plain = PlainScan();
        if (parser.complete()) {
            convert(parser.buffer(), wanted);
            parser.reset();
            plain = PlainScan();
        }
        require(parser.buffer().size() <= 4096 + (wasIdle ? most : 0));
    }
    return 0;
}
