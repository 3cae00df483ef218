#include "platform/codecs/vaac.h"

#include "AacEngine.h"
#include "HandleTable.h"

#include <algorithm>

namespace {

using avr::host::AacEngine;
using Engines = avr::host::HandleTable<AacEngine>;

constexpr int UndecodableFrame = 1;

} // namespace

int VAAC_init(const VAAC_Config* config, int fileType, void* instance)
{
    auto const earlier = Engines::instance().get(instance);
    if (earlier && config && earlier->failed && earlier->restart(*config, fileType))
        return 0;
    std::shared_ptr<AacEngine> engine = config ? AacEngine::make(*config, fileType) : nullptr;
    bool const works = engine != nullptr;
    Engines::instance().put(instance, std::move(engine));
    return works ? 0 : -1;
}

void* VAAC_getInputinfo(unsigned int* words, int* needInput, void* instance)
{
    auto const engine = Engines::instance().get(instance);
    *words = engine ? static_cast<unsigned int>(engine->roomBytes() / 2) : 0;
    *needInput = engine && engine->wantsInput() ? 1 : 0;
    return engine ? engine->room() : nullptr;
}

int VAAC_notifyDecoder(int bytes, void* instance)
{
    auto const engine = Engines::instance().get(instance);
    if (!engine || bytes <= 0)
        return 0;
    engine->take(std::min(static_cast<std::size_t>(bytes), engine->roomBytes()));
    return 1;
}

int VAAC_decode(void* instance, std::int16_t* pcm, void*)
{
    auto const engine = Engines::instance().get(instance);
    if (!engine)
        return VAAC_FatalError;
    engine->failed = !engine->decode(pcm);
    return engine->failed ? UndecodableFrame : 0;
}

void VAAC_getInfo(void* instance, VAAC_StreamInfo* info)
{
    auto const engine = Engines::instance().get(instance);
    *info = engine ? engine->info() : VAAC_StreamInfo{};
}
