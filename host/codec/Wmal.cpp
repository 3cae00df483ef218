#include "platform/codecs/wmal.h"

#include "LittleEndian.h"
#include "Pcm16.h"
#include "Pcm24.h"
#include "WmaEngine.h"

namespace {

using avr::host::Codec;
using avr::host::WmaEngine;
namespace pcm = avr::host::pcm;
using Engines = avr::host::WmaEngines;

constexpr unsigned short TagLossless = 0x163;
constexpr int DamagedBlock = -200;

/// As the codec's own data tell it: the format's field need not be right.
unsigned int bitsPerSample(__wma_parser_stream_params const& stream)
{
    return stream.extraBytes < 2
               ? 0
               : static_cast<unsigned int>(avr::host::littleEndian(stream.extraData, 2));
}

bool begin(WmaEngine& engine)
{
    unsigned int const bits = bitsPerSample(engine.stream());
    return engine.stream().formatTag == TagLossless && (bits == 16 || bits == 24) &&
           engine.begin(Codec::WmaLossless);
}

__wmal_info describe(__wma_parser_stream_params const& stream)
{
    __wmal_info info = {};
    info.channels = static_cast<std::int16_t>(stream.channels);
    info.samplingRate = stream.samplingRate;
    info.duration = stream.duration;
    info.bitRate = stream.bytesPerSecond * 8;
    info.bitsPerSample = static_cast<std::uint16_t>(bitsPerSample(stream));
    info.outputBitDepth = static_cast<std::uint16_t>(info.bitsPerSample / 8);
    info.dstChannel = stream.channels;
    return info;
}

void write16(WmaEngine const& engine, unsigned int samples, std::int16_t* out)
{
    const std::int16_t* const left = engine.plane<std::int16_t>(0);
    if (engine.stream().channels == 1)
        std::copy_n(left, samples, out);
    else
        pcm::interleave(left, engine.plane<std::int16_t>(1), samples, out);
}

void write24(WmaEngine const& engine, unsigned int samples, std::uint8_t* out)
{
    const std::int32_t* const left = engine.plane<std::int32_t>(0);
    if (engine.stream().channels == 1)
        pcm::pack24(left, samples, out);
    else
        pcm::pack24(left, engine.plane<std::int32_t>(1), samples, out);
}

} // namespace

int WMAL_init(void* state, __wmal_params* params)
{
    return avr::host::beginWma(state, *params, begin, describe);
}

int WMAL_decode(void* state, unsigned int* available)
{
    *available = 0;
    auto const engine = Engines::instance().get(state);
    if (!engine)
        return WmaEngine::Failed;
    engine->drop();
    int const result = engine->decode();
    *available = engine->samples();
    return result < 0 ? DamagedBlock : result;
}

short WMAL_getPCM(void* state, void* pcm, short count)
{
    auto const engine = Engines::instance().get(state);
    if (!engine || count < 0)
        return WmaEngine::Failed;
    unsigned int const samples = std::min(engine->samples(), static_cast<unsigned int>(count));
    if (samples != 0 && bitsPerSample(engine->stream()) == 16)
        write16(*engine, samples, static_cast<std::int16_t*>(pcm));
    else if (samples != 0)
        write24(*engine, samples, static_cast<std::uint8_t*>(pcm));
    engine->fetched(samples);
    return static_cast<short>(samples);
}

int WMAL_seek(void* state, unsigned int milliseconds, unsigned int* reached)
{
    return avr::host::seekWma(state, milliseconds, reached);
}

int WMAL_reset(void* state) { return avr::host::resetWma(state); }
