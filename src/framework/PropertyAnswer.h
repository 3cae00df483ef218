#pragma once

#include "decoder/DecoderProperty.h"
#include "decoder/WaveFormat.h"

#include <string>

namespace Avr { namespace Decoder {

class DecoderImple;

/// Answers GetProperty from a format record. @return 0; -10002, and an empty text, for the
/// reserved types and those out of range
int answerProperty(int type, kiv::appli::tWAVEFORMAT const& format, const char* codecName,
                   std::string& value);
/// The same from the engine's record.
int answerProperty(int type, DecoderImple const& engine, const char* codecName, std::string& value);

}} // namespace Avr::Decoder
