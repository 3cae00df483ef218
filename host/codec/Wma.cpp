#include "platform/codecs/wma.h"

#include "Pcm16.h"
#include "WmaEngine.h"

namespace {

using avr::host::Codec;
using avr::host::WmaEngine;
namespace pcm = avr::host::pcm;
using Engines = avr::host::WmaEngines;

constexpr unsigned short TagWma1 = 0x160;
constexpr unsigned short TagWma2 = 0x161;
constexpr std::uint16_t OutputBits = 16;
static_assert(WMA_MostSamples * WMA_MostChannels * 2 <= WMA_PcmBytes, "a call's samples fit");
static_assert(WMA_MostSamples % pcm::PlaneStep == 0, "and are converted whole");

bool begin(WmaEngine& engine)
{
    unsigned short const tag = engine.stream().formatTag;
    return (tag == TagWma1 && engine.begin(Codec::Wma1)) ||
           (tag == TagWma2 && engine.begin(Codec::Wma2));
}

__wma_info describe(__wma_parser_stream_params const& stream)
{
    __wma_info info = {};
    info.samplingRate = stream.samplingRate;
    info.channels = stream.channels;
    info.duration = stream.duration;
    info.bitRate = stream.bytesPerSecond * 8;
    info.bitsPerSample = OutputBits;
    info.audioStreams = stream.audioStreams;
    return info;
}

/// @param samples  per channel, at most WMA_MostSamples
void write(WmaEngine const& engine, unsigned int samples, std::int16_t* out)
{
    // The planes have room for whole steps, and so have the areas.
    std::size_t const whole = (samples + pcm::PlaneStep - 1) / pcm::PlaneStep * pcm::PlaneStep;
    if (engine.stream().channels == 1)
        return pcm::writePlane(engine.plane<float>(0), whole, out);
    std::int16_t left[WMA_MostSamples], right[WMA_MostSamples];
    pcm::writePlane(engine.plane<float>(0), whole, left);
    pcm::writePlane(engine.plane<float>(1), whole, right);
    pcm::interleave(left, right, whole, out);
}

} // namespace

int WMA_init(void* state, __wma_params* params)
{
    return avr::host::beginWma(state, *params, begin, describe);
}

int WMA_decode(void* state, short* samples, void* pcm)
{
    *samples = 0;
    auto const engine = Engines::instance().get(state);
    if (!engine)
        return WmaEngine::Failed;
    if (engine->decode() == ASF_NoMoreData)
        return ASF_NoMoreData;
    unsigned int const count = std::min(engine->samples(), WMA_MostSamples);
    if (count != 0) // a damaged block has none, and costs only itself
        write(*engine, count, static_cast<std::int16_t*>(pcm));
    engine->fetched(count);
    *samples = static_cast<short>(count);
    return 0;
}

int WMA_seek(void* state, unsigned int milliseconds, unsigned int* reached)
{
    return avr::host::seekWma(state, milliseconds, reached);
}

int WMA_reset(void* state) { return avr::host::resetWma(state); }
