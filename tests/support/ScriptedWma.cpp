#include "ScriptedWma.h"

#include <algorithm>

namespace avr { namespace test {

ScriptedWma& ScriptedWma::instance()
{
    static ScriptedWma script;
    return script;
}

ScriptedWma::Step ScriptedWma::next(Codec& codec)
{
    std::size_t const at = codec.decodes++;
    Step const step = at < codec.steps.size() ? codec.steps[at] : Step{0, ASF_NoMoreData};
    if (step.before)
        step.before();
    return step;
}

void ScriptedWma::write(void* pcm, int frames, unsigned int channels, unsigned int bytes)
{
    auto* to = static_cast<std::uint8_t*>(pcm);
    for (int const end = frame + frames; frame < end; ++frame)
        for (unsigned int i = 0; i < channels * bytes; ++i)
            *to++ = static_cast<std::uint8_t>(frame >> 8 * (i % bytes));
}

}} // namespace avr::test

using avr::test::ScriptedWma;

namespace {

ScriptedWma& script() { return ScriptedWma::instance(); }

int begin(ScriptedWma::Codec& codec, const void* state, std::size_t bytes)
{
    auto const* const first = static_cast<const std::uint8_t*>(state);
    bool const zeroed = std::all_of(first, first + bytes, [](std::uint8_t b) { return b == 0; });
    if (codec.onInit)
        codec.onInit();
    return zeroed ? codec.begun : -77;
}

int seek(ScriptedWma::Codec& codec, unsigned int milliseconds)
{
    codec.targets.push_back(milliseconds);
    return codec.sought;
}

} // namespace

int WMA_init(void* state, __wma_params* params)
{
    script().params = *params;
    *params->info = script().info;
    return begin(script().standard, state, WMA_StateBytes);
}

int WMA_decode(void*, short* samples, void* pcm)
{
    ScriptedWma::Step const step = script().next(script().standard);
    *samples = static_cast<short>(step.samples);
    script().write(pcm, step.samples, script().info.channels, 2);
    return step.result;
}

int WMA_seek(void*, unsigned int milliseconds, unsigned int*)
{
    return seek(script().standard, milliseconds);
}

int WMA_reset(void*) { return ++script().standard.resets; }

int WMAL_init(void* state, __wmal_params* params)
{
    script().losslessParams = *params;
    *params->info = script().losslessInfo;
    return begin(script().lossless, state, WMAL_StateBytes);
}

int WMAL_decode(void*, unsigned int* available)
{
    script().current = script().next(script().lossless);
    script().fetches = 0;
    *available = static_cast<unsigned int>(script().current.samples);
    return script().current.result;
}

short WMAL_getPCM(void*, void* pcm, short count)
{
    ScriptedWma& all = script();
    all.counts.push_back(count);
    std::size_t const at = all.fetches++;
    short const got = at < all.current.fetched.size() ? all.current.fetched[at] : count;
    all.write(pcm, std::min(got, count), all.losslessInfo.dstChannel,
              all.losslessInfo.outputBitDepth);
    return got;
}

int WMAL_seek(void*, unsigned int milliseconds, unsigned int*)
{
    return seek(script().lossless, milliseconds);
}

int WMAL_reset(void*) { return ++script().lossless.resets; }

// What the codecs are given to call goes on to these.

short ASF_parseAsfHeader(short audioStream, short reserved, void*, __wma_parser_params_common*,
                         __wma_parser_stream_params*)
{
    return static_cast<short>(-audioStream - reserved);
}

int ASF_fileGetInput(void* scratch, unsigned short** data, short* bytes, void*, short* piece)
{
    *data = static_cast<unsigned short*>(scratch);
    *bytes = 11;
    *piece = 12;
    return 70000;
}

int ASF_seek(void*, unsigned int milliseconds, unsigned int* reached)
{
    *reached = milliseconds + 1;
    return -70000;
}
