#include "WmaStdCodec.h"

#include "AsfGlue.h"
#include "WmaFormat.h"

#include <cstdio>
#include <cstring>

namespace kiv { namespace appli {

namespace {

constexpr int NotOpen = -1;

} // namespace

struct WmaStdCodec::Areas {
    int work1[WMA_WorkBytes / sizeof(int)];
    int work2[WMA_SmallWorkBytes / sizeof(int)];
    unsigned int work3[WMA_WorkBytes / sizeof(unsigned int)];
    __wma_info info;
    alignas(8) unsigned char state[WMA_StateBytes];
    alignas(8) unsigned char parserScratch[ASF_ScratchBytes];
    __wma_params params;
};

WmaStdCodec::WmaStdCodec() : m_areas(new Areas) // the codec's to initialise, page by page
{
    m_areas->info = {};
    std::memset(m_areas->state, 0, sizeof m_areas->state); // a reset may come before anything else
}

WmaStdCodec::~WmaStdCodec() = default;

int WmaStdCodec::open(WmaInput* input)
{
    Areas& areas = *m_areas;
    m_input = input;
    std::memset(areas.parserScratch, 0, sizeof areas.parserScratch);
    areas.params = {input,
                    WmaInput::read,
                    WmaInput::seek,
                    WMA_KIV_parseAsfHeader,
                    WMA_KIV_fileGetInput,
                    WMA_KIV_seek,
                    &areas.info,
                    1,
                    areas.work1,
                    areas.work2,
                    areas.work3,
                    areas.parserScratch};
    std::memset(areas.state, 0, sizeof areas.state);
    areas.info = {};
    m_isOpen = false;
    if (input != nullptr)
        input->begin();
    int const result = WMA_init(areas.state, &areas.params);
    if (input != nullptr)
        input->rethrow();
    m_isOpen = result == 0;
    return result;
}

void WmaStdCodec::describe(DecoderStreamInfo& streamInfo) const
{
    __wma_info const& info = m_areas->info;
    std::printf("++             sampling rate : %u Hz\n", info.samplingRate);
    std::printf("++             # of channels : %d\n", info.channels);
    std::printf("++                  bit-rate : %u bps\n", info.bitRate);
    std::printf("++                  bit-per sample: %d bps\n", info.bitsPerSample);
    std::printf("++                  duration : %u ms\n", info.duration);
    std::printf("++  Total # of Audio Streams : %d\n\n", info.audioStreams);
    streamInfo.format = wmaFormat(info.channels, info.samplingRate, info.bitsPerSample);
    streamInfo.codecId = CodecWmaStandard;
    streamInfo.bitRate = info.bitRate;
}

unsigned int WmaStdCodec::channels() const { return m_areas->info.channels; }

int WmaStdCodec::decode(short& samples, void* pcm)
{
    if (!m_isOpen)
        return NotOpen;
    if (m_input != nullptr)
        m_input->begin();
    int const result = WMA_decode(m_areas->state, &samples, pcm);
    if (m_input != nullptr)
        m_input->rethrow();
    return result;
}

int WmaStdCodec::seek(unsigned int milliseconds)
{
    unsigned int reached = 0;
    return WMA_seek(m_areas->state, milliseconds, &reached);
}

void WmaStdCodec::reset() { WMA_reset(m_areas->state); }

}} // namespace kiv::appli
