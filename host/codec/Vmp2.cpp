#include "platform/codecs/vmp2.h"

#include "AdtsFrame.h"
#include "HandleTable.h"

namespace {

using avr::host::AdtsReader;
using Readers = avr::host::HandleTable<AdtsReader>;

static_assert(AdtsReader::MostFrameBytes == VMP2_FrameBytes, "which frames are skipped");

} // namespace

int VMP2_open(const VMP2_Config* config, void* state)
{
    if (!config || !config->read)
        return -1;
    auto read = [from = *config](std::uint8_t* to, std::size_t bytes) {
        auto const count = static_cast<unsigned int>(bytes);
        return from.read(to, 1, count, from.context) == count;
    };
    Readers::instance().put(state, std::make_shared<AdtsReader>(read));
    return 0;
}

int VMP2_getFrame(void* buffer, unsigned int capacity, void* state)
{
    auto const reader = Readers::instance().get(state);
    return reader ? reader->next(static_cast<std::uint8_t*>(buffer), capacity) : -1;
}
