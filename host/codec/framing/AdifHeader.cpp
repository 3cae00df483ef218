#include "AdifHeader.h"

#include "AacConfig.h"

#include <algorithm>

namespace avr { namespace host {

AdifResult parseAdifHeader(const std::uint8_t* bytes, std::size_t size, AdifHeader& header)
{
    if (!std::equal(bytes, bytes + std::min<std::size_t>(size, 4), "ADIF"))
        return AdifResult::Bad;
    BitReader bits(bytes, size);
    bits.skip(32);
    if (bits.take(1) != 0)
        bits.skip(72); // a copyright
    bits.skip(2);
    bool const constantRate = bits.take(1) == 0;
    bits.skip(23); // bit rate
    unsigned int const programs = bits.take(4) + 1;
    for (unsigned int i = 0; i < programs; ++i) {
        if (constantRate)
            bits.skip(20); // buffer fullness
        std::vector<std::uint8_t> config = programConfig(bits);
        if (bits.overran())
            return AdifResult::NeedsMore;
        if (i == 0)
            header.config = std::move(config);
    }
    header.bytes = bits.position() / 8;
    return header.config.empty() ? AdifResult::Bad : AdifResult::Complete;
}

}} // namespace avr::host
