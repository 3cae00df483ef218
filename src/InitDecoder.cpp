// The one list of the decoders, and the library's entry points.
#include "LpcmDecoder.h"
#include "Registration.h"
#include "WaveDecoder.h"
#include "WaveTestModeDecoder.h"

namespace Avr { namespace Decoder {

void InitDecoder()
{
    DoRegister<LpcmDecoder>("lpcm");
    DoRegister<kiv::appli::WaveDecoder>("wav");
    DoRegister<kiv::appli::WaveTestModeDecoder>("wav-testmode");
}

}} // namespace Avr::Decoder

/// For hosts that find the library's entry by this name (dlsym). A program that links the library
/// needs a main of its own.
AVR_API int main()
{
    Avr::Decoder::InitDecoder();
    return 0;
}
