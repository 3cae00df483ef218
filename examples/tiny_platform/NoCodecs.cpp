// A device without the makers' codecs: MP3, AAC and WMA are refused, so their decoders report
// event 11 and every other one plays.
#include "platform/codecs/vaac.h"
#include "platform/codecs/vmp2.h"
#include "platform/codecs/vmp3.h"
#include "platform/codecs/vmp4.h"
#include "platform/codecs/wmal.h"

namespace {

constexpr int Refused = -1;
constexpr short NoAsf = ASF_ParserErrors - 1;

} // namespace

unsigned int VMP3_getDataObjSize() { return 1; }
int VMP3_init(void*, VMP3_InputDescriptor*, void*) { return 0; }
int VMP3_fetchFrame(void*) { return Refused; }
int VMP3_decode(void*, void*, void*, int* samples, int* needFetch, void*)
{
    *samples = 0;
    *needFetch = 1;
    return Refused;
}
void VMP3_getInfo(VMP3_StreamInfo* info, void*) { *info = {}; }

int VMP4_open(const VMP4_Config*, VMP4_Info* info, void*)
{
    *info = {};
    return Refused;
}
std::int16_t VMP4_getAudioTrack(void*) { return Refused; }
int VMP4_getFrame(void*, int, unsigned int, unsigned int, void*) { return Refused; }
void VMP4_close(void*) {}

int VMP2_open(const VMP2_Config*, void*) { return Refused; }
int VMP2_getFrame(void*, unsigned int, void*) { return 0; }

int VAAC_init(const VAAC_Config*, int, void*) { return Refused; }
void* VAAC_getInputinfo(unsigned int* words, int* needInput, void*)
{
    *words = 0;
    *needInput = 0;
    return nullptr;
}
int VAAC_notifyDecoder(int, void*) { return 0; }
int VAAC_decode(void*, std::int16_t*, void*) { return VAAC_FatalError; }
void VAAC_getInfo(void*, VAAC_StreamInfo* info) { *info = {}; }

short ASF_parseAsfHeader(short, short, void*, __wma_parser_params_common*,
                         __wma_parser_stream_params* stream)
{
    *stream = {};
    return NoAsf;
}
int ASF_fileGetInput(void*, unsigned short** data, short* bytes, void*, short* piece)
{
    *data = nullptr;
    *bytes = *piece = 0;
    return ASF_NoMoreData;
}
int ASF_seek(void*, unsigned int, unsigned int*) { return Refused; }

int WMA_init(void*, __wma_params*) { return Refused; }
int WMA_decode(void*, short* samples, void*)
{
    *samples = 0;
    return Refused;
}
int WMA_seek(void*, unsigned int, unsigned int*) { return Refused; }
int WMA_reset(void*) { return 0; }

int WMAL_init(void*, __wmal_params*) { return Refused; }
int WMAL_decode(void*, unsigned int* available)
{
    *available = 0;
    return Refused;
}
short WMAL_getPCM(void*, void*, short) { return Refused; }
int WMAL_seek(void*, unsigned int, unsigned int*) { return Refused; }
int WMAL_reset(void*) { return 0; }
