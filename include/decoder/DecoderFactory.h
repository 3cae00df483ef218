#pragma once

#include "decoder/Export.h"

#include <boost/unordered_map.hpp>

#include <string>

namespace kiv { namespace appli {
class IDecoder;
}} // namespace kiv::appli

namespace Avr { namespace Decoder {

/// The registry: one decoder per format for the whole process, found by format name or MIME type,
/// whatever the case of the letters. Fill it (InitDecoder) before the first look-up; look-ups may
/// then come from any thread. The decoders are not owned and never destroyed.
class AVR_API DecoderFactory {
public:
    /// The process's registry. Any thread.
    static DecoderFactory& Instance();

    /// Enters the decoder under the lower-cased key; a later registration replaces an earlier one.
    void RegisterFormat(std::string const& format, kiv::appli::IDecoder* decoder);
    /// The same under a MIME type.
    void RegisterMimeType(std::string const& mimeType, kiv::appli::IDecoder* decoder);

    /// @return the decoder, or null when there is none
    kiv::appli::IDecoder* LookupFromFormat(std::string const& format) const;
    /// The same for a MIME type.
    kiv::appli::IDecoder* LookupFromMimeType(std::string const& mimeType) const;

private:
    using Map = boost::unordered_map<std::string, kiv::appli::IDecoder*>;

    DecoderFactory();
    ~DecoderFactory() = default;
    DecoderFactory(DecoderFactory const&) = delete;
    DecoderFactory& operator=(DecoderFactory const&) = delete;

    Map m_formats;
    Map m_mimeTypes;
};

/// Creates the decoders and registers them. Call it once, before the first look-up. A second call
/// registers a fresh set; the decoders handed out before stay valid.
AVR_API void InitDecoder();

/// The process's registry's look-up by format name.
AVR_API kiv::appli::IDecoder* LookupFromFormat(std::string const& format);
/// The same by MIME type.
AVR_API kiv::appli::IDecoder* LookupFromMimeType(std::string const& mimeType);

}} // namespace Avr::Decoder
