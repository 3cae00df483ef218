#include "PropertyAnswer.h"

#include "DecoderImple.h"
#include "decoder/Result.h"

namespace Avr { namespace Decoder {

using namespace kiv::appli;

int answerProperty(int type, tWAVEFORMAT const& format, const char* codecName, std::string& value)
{
    switch (type) {
    case DecoderPropTypeBase::SampleRate:
        value = std::to_string(format.samplesPerSecond);
        return Ok;
    case DecoderPropTypeBase::BitsPerSample:
        value = std::to_string(format.bitsPerSample);
        return Ok;
    case DecoderPropTypeBase::Channels:
        value = std::to_string(format.channels);
        return Ok;
    case DecoderPropTypeBase::CodecName:
        value = codecName;
        return Ok;
    case DecoderPropTypeBase::BitRate:
        value = std::to_string(std::uint64_t(format.averageBytesPerSecond) * 8);
        return Ok;
    default:
        value.clear();
        return ErrorFailed;
    }
}

int answerProperty(int type, DecoderImple const& engine, const char* codecName, std::string& value)
{
    tWAVEFORMAT format;
    engine.GetWaveFormat(format);
    return answerProperty(type, format, codecName, value);
}

}} // namespace Avr::Decoder
