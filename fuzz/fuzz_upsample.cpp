// The up-converters against their rule: the first byte chooses one; then come blocks, each a byte
// of length and its samples, converted in buffers that hold just what the contract asks for.
#include "Upsample.h"
#include "UpsampleReference.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <vector>

using namespace avr::test;

namespace {

/// @return false when the bytes were used up
bool takeSamples(std::vector<int>& samples, const std::uint8_t*& data, std::size_t& size)
{
    std::size_t const bytes = std::min(size, samples.size() * sizeof(int));
    if (bytes != 0)
        std::memcpy(samples.data(), data, bytes);
    data += bytes;
    size -= bytes;
    return bytes == samples.size() * sizeof(int);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    std::size_t const choice = *data++ % std::size(UpsampleRules);
    --size;
    UpsampleRule const& rule = UpsampleRules[choice];
    avr::upsample upsampler;
    upsampler.select_converter(rule.rate, rule.channels);
    UpsampleHistory history;
    for (bool more = true; more && size != 0;) {
        int const count = *data++;
        --size;
        std::vector<int> in(static_cast<std::size_t>(rule.samplesRead(count)));
        more = takeSamples(in, data, size);
        // What lies behind the samples matters at the ratio 1.5.
        std::vector<int> out(static_cast<std::size_t>(rule.room(count)), 0x5A17C3B9);
        std::vector<int> expected = out;
        int const samples = rule.convert(history, in.data(), count, expected.data());
        int const written = (upsampler.*upsampler.m_converter)(in.data(), count, out.data());
        if (written != samples || !std::equal(out.begin(), out.begin() + written, expected.begin()))
            std::abort();
    }
    return 0;
}
