#pragma once

#include "EngineDecoder.h"

namespace kiv { namespace appli {

/// What FLAC and Ogg Vorbis answer alike.
class LibraryDecoder : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, IDecoder> {
public:
    /// The engine's, but it answers 0 in every state.
    int Start() override
    {
        EngineDecoder::Start();
        return Ok;
    }
    int Seek(long) override { return ErrorNotSupported; }
    int Seek(double) override { return ErrorNotSupported; }
    int Seek(TimeSpec const& position) override = 0;
    int SetProperty(smart_enum<DecoderPropTypeBase>, std::string&) override { return Ok; }
};

}} // namespace kiv::appli
