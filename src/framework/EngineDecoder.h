#pragma once

#include "DecoderImple.h"

namespace Avr { namespace Decoder {

/// A decoder over the engine: forwards the engine's operations once for all. Bases are the engine,
/// IDecoder (or IWMADecoder) and mixins, in the order that the class needs.
template <class... Bases>
class EngineDecoder : public Bases... {
public:
    int Open(boost::shared_ptr<Avr::Interface::IReadableStream> stream,
             kiv::appli::IDecoderCallback* callback) override
    {
        return this->DecoderImple::Open(stream, callback);
    }
    int Start() override { return this->DecoderImple::Start(); }
    int Resume() override { return this->DecoderImple::Resume(); }
    int Pause() override { return this->DecoderImple::Pause(); }
    int Close() override { return this->DecoderImple::Close(); }
    int GetWaveFormat(kiv::appli::tWAVEFORMAT& format) override
    {
        return this->DecoderImple::GetWaveFormat(format);
    }
    int GetCurrentState(kiv::appli::smart_enum<kiv::appli::DecoderStateBase>& state) override
    {
        state = this->DecoderImple::GetCurrentState();
        return kiv::appli::Ok;
    }
};

}} // namespace Avr::Decoder
