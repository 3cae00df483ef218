// A project that only wants the decoders. Ends with 0 when the WAVE decoder answers to its name.
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoder.h"

#include <iostream>

int main()
{
    Avr::Decoder::InitDecoder();
    kiv::appli::IDecoder* decoder = Avr::Decoder::LookupFromFormat("wav");
    if (!decoder) {
        std::cerr << "no decoder for wav\n";
        return 1;
    }
    std::string name;
    decoder->GetProperty(kiv::appli::DecoderPropTypeBase::CodecName, name);
    std::cerr << "the wav decoder calls itself \"" << name << "\"\n";
    return name == "Wave" ? 0 : 1;
}
