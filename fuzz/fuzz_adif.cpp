// The ADIF header: its end does not depend on what is behind it, nor its beginning on what follows.
#include "AdifHeader.h"

#include <cstdlib>

using namespace avr::host;

namespace {

/// From a copy, so that reading beyond the end shows.
AdifResult parse(const std::uint8_t* data, std::size_t size, AdifHeader& header)
{
    std::vector<std::uint8_t> const copy(data, data + size);
    return parseAdifHeader(copy.data(), copy.size(), header);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    AdifHeader header, again;
    AdifResult const result = parse(data, size, header);
    if (result == AdifResult::NeedsMore && size >= 8192)
        std::abort();
    if (result != AdifResult::Complete)
        return 0;
    if (header.bytes > size || header.config.size() < 5 ||
        parse(data, header.bytes, again) != AdifResult::Complete || again.config != header.config ||
        parse(data, header.bytes - 1, again) != AdifResult::NeedsMore)
        std::abort();
    return 0;
}
