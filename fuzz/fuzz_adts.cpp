// The splitter of ADTS streams over any bytes: it asks for nothing behind a failed read, gives
// whole frames only, which lie in the input one behind the other, and comes to an end.
#include "AdtsFrame.h"
#include "ExactInput.h"

using namespace avr::host;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ExactInput input(data, size);
    AdtsReader reader([&](std::uint8_t* to, std::size_t bytes) { return input.read(to, bytes); });
    std::size_t const capacity = input.size % 2 != 0 ? AdtsReader::MostFrameBytes : 300;
    std::vector<std::uint8_t> frame(capacity);
    for (int bytes; (bytes = reader.next(frame.data(), capacity)) > 0;) {
        AdtsHeader header;
        require(parseAdtsHeader(frame.data(), header) && header.frameBytes == std::size_t(bytes));
        input.expect(frame.data(), std::size_t(bytes));
    }
    return 0;
}
