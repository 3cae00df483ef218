#pragma once

#include "DecoderImple.h"
#include "platform/BufferStream.h"

namespace Avr { namespace Decoder {

// Repositioning of the input: the one place for it and its messages. Each takes the decoder lock
// for the move. Decoding thread (opening) or the seeking player's thread.

/// What a failed seek of the buffered stream gives; no failure as far as the callers go.
constexpr int SeekFailed = 1;

/// The stream's capability flags.
int capabilitiesOf(Avr::Interface::IReadableStream& stream);

/// The stream's length in bytes; 0 when it is unknown.
long long contentLength(Avr::Interface::IReadableStream& stream);

/// Moves the buffered stream to a byte. @return 0; 1 when it failed or there is no stream
int seekBufferedByte(DecoderImple& engine, kiv::appli::BufferStream* stream, long long offset);

/// Moves the stream to a time. @return the stream's result
int seekTime(DecoderImple& engine, Avr::Interface::IReadableStream& stream, double seconds);

/// Moves the stream to a byte. @return the stream's result
int seekByte(DecoderImple& engine, Avr::Interface::IReadableStream& stream, long long offset);

}} // namespace Avr::Decoder
