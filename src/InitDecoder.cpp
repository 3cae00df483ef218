// The one list of the decoders, and the library's entry points.
#include "DecoderHistory.h"
#include "FlacDecoder.h"
#include "LpcmDecoder.h"
#include "OggVorbisDecoder.h"
#include "Registration.h"
#include "VAACDecoder.h"
#include "VHEAACDecoder.h"
#include "VMP3Decoder.h"
#include "VWmaDecoder.h"
#include "WaveDecoder.h"
#include "WaveTestModeDecoder.h"

namespace Avr { namespace Decoder {

namespace {

/// What is looked up lately says which kind of WMA is likely to come.
void recordLookup(std::string const& format)
{
    if (format != "wma")
        kiv::appli::DecoderHistory::instance().add(format);
}

} // namespace

void InitDecoder()
{
    observeLookups(recordLookup);
    DoRegister<LpcmDecoder>("lpcm");
    DoRegister<kiv::appli::WaveDecoder>("wav");
    DoRegister<kiv::appli::WaveTestModeDecoder>("wav-testmode");
    DoRegister<kiv::appli::OggVorbisDecoder>("ogg");
    DoRegister<kiv::appli::FlacDecoder>("flac");
    DoRegister<kiv::appli::VWmaDecoder>("wma");
    DoRegister<kiv::appli::VHEAACDecoder>("he-aac");
    DoRegister<kiv::appli::VAACDecoder>("aac");
    DoRegister<kiv::appli::VMP3Decoder>("mp3");
}

}} // namespace Avr::Decoder

/// For hosts that find the library's entry by this name (dlsym). A program that links the library
/// needs a main of its own.
AVR_API int main()
{
    Avr::Decoder::InitDecoder();
    return 0;
}
