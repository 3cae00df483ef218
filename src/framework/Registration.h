#pragma once

#include "MimeEnumeration.h"
#include "decoder/DecoderFactory.h"

#include <string>

namespace Avr { namespace Decoder {

/// Keeps a decoder reachable for the rest of the process: players may hold it.
void keepForever(kiv::appli::IDecoder* decoder);

/// From then on every look-up by name that finds a decoder is told to the observer, as it was asked
/// for. Before the first look-up.
void observeLookups(void (*observer)(std::string const& format));

/// Creates one T and enters it in the registry under the format name and under every MIME type
/// that the platform has for it. The decoder is never destroyed.
template <class T>
void DoRegister(const char* format)
{
    DecoderFactory& factory = DecoderFactory::Instance();
    kiv::appli::IDecoder* const decoder = new T;
    keepForever(decoder);
    factory.RegisterFormat(format, decoder);
    kiv::mimetype_ex::enumulator cursor;
    while (kiv::mimetype_ex::enum_mimetype_from_format(format, cursor))
        factory.RegisterMimeType(cursor.mimeType, decoder);
    // The test mode has no entry in the platform's table.
    if (std::string(format) == "wav-testmode")
        factory.RegisterMimeType("audio/wav-testmode", decoder);
}

}} // namespace Avr::Decoder
