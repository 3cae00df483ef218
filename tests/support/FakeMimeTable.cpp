// A MIME table with the cases that matter to the registry.
#include "platform/MimeTable.h"

namespace kiv { namespace mimetype_ex {

extern const MimeTypeInfo mimeinfo_list[] = {
    {"wav", "wav", "audio/wav", "RIFF/WAVE"},
    {"lpcm", "l16", "audio/l16", "raw PCM"},
    {"wav-testmode", "", "audio/test", "not of the platform"},
    {"wav", "wave", "audio/X-Wav", "RIFF/WAVE"},
};
extern const unsigned int MimeTypeInfoSize = 4;

}} // namespace kiv::mimetype_ex
