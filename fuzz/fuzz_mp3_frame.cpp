// The MP3 reader over any bytes: it asks for nothing behind a failed read, its frames lie in the
// input one behind the other, and it comes to an end.
#include "ExactInput.h"
#include "Mp3Reader.h"

using namespace avr::host;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ExactInput input(data, size);
    Mp3Reader reader([&](std::uint8_t* to, std::size_t bytes) { return input.read(to, bytes); });
    while (!input.failed) {
        std::size_t const before = input.at;
        if (reader.fetch() == Mp3Reader::Result::Frame) {
            std::size_t const bytes = reader.header().bytes;
            require(bytes <= Mp3LongestFrame && reader.frame()[bytes] == 0);
            input.expect(reader.frame(), bytes);
        } else {
            require(input.failed || input.at > before);
        }
    }
    return 0;
}
