#include "WmaLosslessCodec.h"

#include "AsfGlue.h"
#include "WmaFormat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace kiv { namespace appli {

namespace {

constexpr int NotOpen = -1;

} // namespace

struct WmaLosslessCodec::Areas {
    int work[WMAL_WorkBytes / sizeof(int)];
    __wmal_info info;
    alignas(8) unsigned char state[WMAL_StateBytes];
    alignas(8) unsigned char parserScratch[ASF_ScratchBytes];
    __wmal_params params;
};

WmaLosslessCodec::WmaLosslessCodec() : m_areas(new Areas) // the codec's to initialise, page by page
{
    m_areas->info = {};
    std::memset(m_areas->state, 0, sizeof m_areas->state); // a reset may come before anything else
}

WmaLosslessCodec::~WmaLosslessCodec() = default;

int WmaLosslessCodec::open(WmaInput* input)
{
    Areas& areas = *m_areas;
    m_input = input;
    std::memset(areas.parserScratch, 0, sizeof areas.parserScratch);
    areas.params = {0,
                    0,
                    1,
                    1,
                    &areas.info,
                    areas.work,
                    input,
                    WmaInput::read,
                    WmaInput::seek,
                    WMA_KIV_parseAsfHeader,
                    WMA_KIV_fileGetInput,
                    WMA_KIV_seek,
                    areas.parserScratch};
    std::memset(areas.state, 0, sizeof areas.state);
    areas.info = {};
    m_isOpen = false;
    if (input != nullptr)
        input->begin();
    int const result = WMAL_init(areas.state, &areas.params);
    if (input != nullptr)
        input->rethrow();
    m_isOpen = result == 0;
    return result;
}

void WmaLosslessCodec::describe(DecoderStreamInfo& streamInfo) const
{
    __wmal_info const& info = m_areas->info;
    std::printf("\n         sampling rate: %u Hz\n", info.samplingRate);
    std::printf("       No. of channels: %d\n", info.channels);
    std::printf("              bit-rate: %u bps\n", info.bitRate);
    std::printf("              bit-per sample: %d bps\n", info.bitsPerSample);
    std::printf("              duration: %u ms\n", info.duration);
    std::printf("m_wmalInfo.dstChannel %d\n", info.dstChannel);
    std::printf("      outputBitDepth %d\n", info.outputBitDepth);
    streamInfo.format =
        wmaFormat(static_cast<std::uint16_t>(info.channels), info.samplingRate, info.bitsPerSample);
    streamInfo.codecId = CodecWmaLossless;
    streamInfo.bitRate = info.bitRate;
}

unsigned int WmaLosslessCodec::frameBytes() const
{
    return static_cast<unsigned int>(m_areas->info.dstChannel) * m_areas->info.outputBitDepth;
}

int WmaLosslessCodec::decode(unsigned int& available)
{
    available = 0;
    if (!m_isOpen)
        return NotOpen;
    if (m_input != nullptr)
        m_input->begin();
    int const result = WMAL_decode(m_areas->state, &available);
    if (m_input != nullptr)
        m_input->rethrow();
    return result;
}

int WmaLosslessCodec::getPcm(void* pcm, unsigned int count)
{
    int const got = WMAL_getPCM(m_areas->state, pcm, static_cast<short>(count));
    return std::min(got, static_cast<int>(count));
}

int WmaLosslessCodec::seek(unsigned int milliseconds)
{
    unsigned int reached = 0;
    return WMAL_seek(m_areas->state, milliseconds, &reached);
}

void WmaLosslessCodec::reset() { WMAL_reset(m_areas->state); }

}} // namespace kiv::appli
