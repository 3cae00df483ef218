// The MP3 reader over any bytes: it asks for nothing behind a failed read, its frames lie in the
// input one behind the other, and it comes to an end.
#include "Mp3Reader.h"

#include <algorithm>
#include <cstdlib>

using namespace avr::host;

static void require(bool condition)
{
    if (!condition)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    size = std::min<std::size_t>(size, 8192); // more of the same is only slower
    std::size_t at = 0;
    bool failed = false;
    Mp3Reader reader([&](std::uint8_t* to, std::size_t bytes) {
        require(!failed && bytes != 0);
        failed = size - at < bytes;
        std::copy_n(data + at, failed ? 0 : bytes, to);
        at += failed ? 0 : bytes;
        return !failed;
    });
    const std::uint8_t* behind = data;
    while (!failed) {
        std::size_t const before = at;
        Mp3Reader::Result const result = reader.fetch();
        if (result == Mp3Reader::Result::Frame) {
            std::size_t const bytes = reader.header().bytes;
            require(bytes <= Mp3LongestFrame && reader.frame()[bytes] == 0);
            behind = std::search(behind, data + at, reader.frame(), reader.frame() + bytes) + bytes;
            require(behind <= data + at);
        } else {
            require(failed || at > before);
        }
    }
    return 0;
}
