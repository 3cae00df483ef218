#include "ScriptedAac.h"

#include <algorithm>

namespace avr { namespace test {

ScriptedAac& ScriptedAac::instance()
{
    static ScriptedAac script;
    return script;
}

int ScriptedAac::fetch(unsigned int capacity)
{
    ++fetches;
    if (next().before)
        next().before();
    return capacity == sizeof input ? next().bytes : -99;
}

}} // namespace avr::test

using avr::test::ScriptedAac;

int VAAC_init(const VAAC_Config* config, int fileType, void*)
{
    auto& script = ScriptedAac::instance();
    script.config = *config;
    script.fileType = fileType;
    std::size_t const index = script.initsDone++;
    return index < script.inits.size() ? script.inits[index] : 0;
}

void* VAAC_getInputinfo(unsigned int* words, int* needInput, void*)
{
    auto& script = ScriptedAac::instance();
    *words = sizeof script.input / 2;
    *needInput = script.next().wantsInput ? 1 : 0;
    return script.input;
}

int VAAC_notifyDecoder(int bytes, void*) { return bytes; }

int VAAC_decode(void*, std::int16_t* pcm, void*)
{
    auto& script = ScriptedAac::instance();
    script.current = script.next();
    auto const value = static_cast<std::int16_t>(++script.number);
    std::fill_n(pcm, VAAC_FrameSamples, value);
    std::fill_n(pcm + VAAC_FrameSamples, VAAC_FrameSamples, static_cast<std::int16_t>(-value));
    return script.current.error;
}

void VAAC_getInfo(void*, VAAC_StreamInfo* info)
{
    ScriptedAac::Step const& step = ScriptedAac::instance().current;
    *info = {step.rate, step.channels, step.samples};
}

int VMP2_open(const VMP2_Config* config, void*)
{
    auto& script = ScriptedAac::instance();
    if (script.onOpen)
        script.onOpen({config->read, config->seek, config->context});
    return script.opened;
}

int VMP2_getFrame(void*, unsigned int capacity, void*)
{
    return ScriptedAac::instance().fetch(capacity);
}

int VMP4_open(const VMP4_Config* config, VMP4_Info* info, void*)
{
    auto& script = ScriptedAac::instance();
    *info = script.info;
    if (script.onOpen)
        script.onOpen(*config);
    return script.opened;
}

std::int16_t VMP4_getAudioTrack(void*) { return ScriptedAac::instance().track; }

int VMP4_getFrame(void*, int track, unsigned int index, unsigned int capacity, void*)
{
    auto& script = ScriptedAac::instance();
    script.samplesAsked.push_back(index);
    return track == script.track ? script.fetch(capacity) : -99;
}

void VMP4_close(void*) { ++ScriptedAac::instance().closes; }
