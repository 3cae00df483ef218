// The splitter of ADTS streams over any bytes: it asks for nothing behind a failed read, gives
// whole frames only, which lie in the input one behind the other, and comes to an end.
#include "AdtsFrame.h"

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
    AdtsReader reader([&](std::uint8_t* to, std::size_t bytes) {
        require(!failed && bytes != 0);
        failed = size - at < bytes;
        std::copy_n(data + at, failed ? 0 : bytes, to);
        at += failed ? 0 : bytes;
        return !failed;
    });
    std::size_t const capacity = size % 2 != 0 ? AdtsReader::MostFrameBytes : 300;
    std::vector<std::uint8_t> frame(capacity);
    const std::uint8_t* behind = data;
    for (int bytes; (bytes = reader.next(frame.data(), capacity)) > 0;) {
        AdtsHeader header;
        require(parseAdtsHeader(frame.data(), header) && header.frameBytes == std::size_t(bytes));
        behind = std::search(behind, data + at, frame.data(), frame.data() + bytes) + bytes;
        require(behind <= data + at);
    }
    return 0;
}
