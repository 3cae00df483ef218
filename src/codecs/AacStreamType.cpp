#include "AacStreamType.h"

#include "platform/codecs/vaac.h"

#include <cstring>
#include <ctime>

int VAAC_getStreamType(std::uint32_t first, std::uint32_t second)
{
    if (std::memcmp(&first, "ADIF", sizeof first) == 0)
        return VAAC_Adif;
    return std::memcmp(&second, "ftyp", sizeof second) == 0 ? VAAC_Mp4 : VAAC_Adts;
}

int VAAC_identifyType(const void* header)
{
    constexpr int NoData = 19;
    if (header == nullptr)
        return NoData;
    std::uint32_t words[2];
    std::memcpy(words, header, sizeof words);
    return VAAC_getStreamType(words[0], words[1]);
}

void VAAC_getRandState(int* state)
{
    if (*state == 0)
        *state = static_cast<int>(static_cast<unsigned long>(std::time(nullptr)) >> 1);
}
