#include "AacUpSampler.h"

#include <cstdio>

namespace kiv { namespace appli {

namespace {

constexpr std::uint32_t LowestKept = 44100;
constexpr unsigned int OutputBytes = 262144; ///< more than 12 times a block

std::uint32_t destinationOf(std::uint32_t rate)
{
    switch (rate) {
    case 8000:
    case 12000:
    case 16000:
    case 24000:
    case 32000:
        return 48000;
    case 11025:
    case 22050:
        return 44100;
    default:
        return 0;
    }
}

} // namespace

void AacUpSampler::reset()
{
    m_source = m_destination = 0;
    m_upsample.reset();
}

std::uint32_t AacUpSampler::begin(std::uint32_t rate)
{
    reset();
    if (rate >= LowestKept)
        return rate;
    m_source = rate;
    m_destination = destinationOf(rate);
    std::fprintf(stderr, "[VAAC up convert for SXM 2.0] srcFs=%u, dstFs=%u\n", rate, m_destination);
    return m_destination;
}

void AacUpSampler::follow(std::uint32_t rate)
{
    if (rate >= LowestKept && m_source != 0) {
        std::fprintf(stderr, "[UP-SAMPLER] reset rate %u\n", rate);
        reset();
    } else if (rate < LowestKept && m_source == 0) {
        std::fprintf(stderr, "[UP-SAMPLER] change rate %u\n", rate);
        begin(rate);
    }
}

AacUpSampler::Block AacUpSampler::convert(std::int32_t* block)
{
    if (m_destination == 0)
        return {block, BlockSamples * sizeof *block};
    if (m_upsample.m_converter == nullptr)
        prepare();
    int const samples = (m_upsample.*m_upsample.m_converter)(block, BlockSamples, m_output.data());
    return {m_output.data(), static_cast<unsigned int>(samples) * 4};
}

void AacUpSampler::prepare()
{
    m_output.resize(OutputBytes / sizeof(int));
    std::fprintf(stderr, "new buffer size for up-sampler = %u bytes\n", OutputBytes);
    m_upsample.select_converter(static_cast<int>(m_destination * 10 / m_source), 2);
}

}} // namespace kiv::appli
