#include "ScriptedMp3.h"

#include <algorithm>

namespace avr { namespace test {

ScriptedMp3& ScriptedMp3::instance()
{
    static ScriptedMp3 script;
    return script;
}

void ScriptedMp3::begin()
{
    auto const index = static_cast<std::size_t>(number++);
    current = index < steps.size() ? steps[index] : Step{1, 0, 0, 1, 1 << 20};
    if (current.before)
        current.before();
}

/// A few bytes, then the rest.
void ScriptedMp3::read()
{
    for (unsigned int left = current.reads, piece = 7; left != 0; piece = left) {
        Bytes bytes(std::min(left, piece));
        auto const size = static_cast<unsigned int>(bytes.size());
        unsigned int const got = descriptor.read(bytes.data(), 1, size, descriptor.context);
        input.insert(input.end(), bytes.begin(), bytes.begin() + got);
        left = got == size ? left - got : 0;
    }
}

}} // namespace avr::test

using avr::test::ScriptedMp3;

unsigned int VMP3_getDataObjSize() { return 64; }

int VMP3_init(void*, VMP3_InputDescriptor* descriptor, void*)
{
    ScriptedMp3::instance().descriptor = *descriptor;
    return -1; // which nobody looks at
}

int VMP3_fetchFrame(void*)
{
    auto& script = ScriptedMp3::instance();
    ++script.fetches;
    script.begin();
    script.read();
    script.hasFetched = true;
    return script.current.fetched;
}

int VMP3_decode(void*, void*, void* pcm, int* samples, int* needFetch, void*)
{
    auto& script = ScriptedMp3::instance();
    ++script.decodes;
    if (script.hasFetched)
        script.fetchWasWanted &= *needFetch != 0;
    else
        script.begin();
    script.hasFetched = false;
    *samples = script.current.samples;
    *needFetch = script.current.needFetch;
    std::fill_n(static_cast<std::int32_t*>(pcm), *samples * script.info.channels, script.number);
    return script.current.decoded;
}

void VMP3_getInfo(VMP3_StreamInfo* info, void*) { *info = ScriptedMp3::instance().info; }
