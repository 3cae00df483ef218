#include "AacConfig.h"

#include <algorithm>
#include <iterator>

namespace avr { namespace host {

namespace {

constexpr std::uint32_t Rates[AacRates] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                           22050, 16000, 12000, 11025, 8000,  7350};
constexpr unsigned int ExplicitRate = 15; ///< an index behind which the rate stands itself
constexpr unsigned int ObjectSbr = 5;
constexpr unsigned int ObjectPs = 29;

/// A general audio config up to the program config element.
void begin(BitWriter& config, AacFormat const& format)
{
    config.put(format.objectType, 5);
    config.put(format.rateIndex, 4);
    config.put(format.channels, 4);
    config.put(0, 3); // 1024 samples, no core coder, no extension
}

/// The sync extension that says: no band replication.
std::vector<std::uint8_t> end(BitWriter& config)
{
    config.put(0x2B7, 11);
    config.put(ObjectSbr, 5);
    config.put(0, 1);
    return config.bytes();
}

/// Copies bits from one to the other.
class BitCopy {
public:
    BitCopy(BitReader& from, BitWriter& to) : m_from(from), m_to(to) {}

    std::uint32_t operator()(unsigned int count)
    {
        std::uint32_t const value = m_from.take(count);
        m_to.put(value, count);
        return value;
    }
    void optional(unsigned int count)
    {
        if ((*this)(1) != 0)
            (*this)(count);
    }

private:
    BitReader& m_from;
    BitWriter& m_to;
};

unsigned int takeObjectType(BitReader& config)
{
    unsigned int const type = config.take(5);
    return type == 31 ? 32 + config.take(6) : type;
}

unsigned int takeRateIndex(BitReader& config)
{
    unsigned int const index = config.take(4);
    return index == ExplicitRate ? aacRateIndex(config.take(24)) : index;
}

} // namespace

std::uint32_t aacRate(unsigned int index) { return Rates[index]; }

unsigned int aacRateIndex(std::uint32_t rate)
{
    auto const found = std::find(std::begin(Rates), std::end(Rates), rate);
    return unsigned(found - std::begin(Rates));
}

std::vector<std::uint8_t> coreConfig(AacFormat const& format)
{
    BitWriter config;
    begin(config, format);
    return end(config);
}

std::vector<std::uint8_t> programConfig(BitReader& element)
{
    std::uint32_t const tag = element.take(4);
    AacFormat format;
    format.objectType = element.take(2) + 1;
    format.rateIndex = element.take(4);
    BitWriter config;
    begin(config, format);
    config.put(tag, 4);
    config.put(format.objectType - 1, 2);
    config.put(format.rateIndex, 4);
    BitCopy copy(element, config);
    unsigned int const speakers = copy(4) + copy(4) + copy(4); // front, side, back
    unsigned int const low = copy(2), associated = copy(3), coupling = copy(4);
    copy.optional(4); // mixdowns
    copy.optional(4);
    copy.optional(3);
    for (unsigned int i = 0; i < speakers; ++i)
        copy(5);
    for (unsigned int i = 0; i < low + associated; ++i)
        copy(4);
    for (unsigned int i = 0; i < coupling; ++i)
        copy(5);
    element.alignToByte();
    element.skip(element.take(8) * std::size_t{8}); // a comment
    config.alignToByte();
    config.put(0, 8);
    return format.rateIndex < AacRates ? end(config) : std::vector<std::uint8_t>();
}

AacFormat coreFormat(std::vector<std::uint8_t> const& config)
{
    BitReader bits(config.data(), config.size());
    AacFormat format;
    format.objectType = takeObjectType(bits);
    format.rateIndex = takeRateIndex(bits);
    format.channels = bits.take(4);
    if (format.objectType == ObjectSbr || format.objectType == ObjectPs) {
        takeRateIndex(bits); // with the extension
        format.objectType = takeObjectType(bits);
    }
    bool const shortFrames = bits.take(1) != 0;
    if (bits.overran() || shortFrames || format.rateIndex >= AacRates)
        format.objectType = 0;
    return format;
}

}} // namespace avr::host
