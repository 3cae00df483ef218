#include "decoder/DecoderFactory.h"

#include "Registration.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <vector>

namespace Avr { namespace Decoder {

namespace {

constexpr std::size_t Buckets = 50; // at least

kiv::appli::IDecoder* find(boost::unordered_map<std::string, kiv::appli::IDecoder*> const& map,
                           std::string const& key)
{
    auto const found = map.find(boost::to_lower_copy(key));
    return found == map.end() ? nullptr : found->second;
}

void (*lookupObserver)(std::string const& format) = nullptr;

} // namespace

DecoderFactory::DecoderFactory() : m_formats(Buckets), m_mimeTypes(Buckets) {}

DecoderFactory& DecoderFactory::Instance()
{
    static DecoderFactory instance;
    return instance;
}

void DecoderFactory::RegisterFormat(std::string const& format, kiv::appli::IDecoder* decoder)
{
    m_formats[boost::to_lower_copy(format)] = decoder;
}

void DecoderFactory::RegisterMimeType(std::string const& mimeType, kiv::appli::IDecoder* decoder)
{
    m_mimeTypes[boost::to_lower_copy(mimeType)] = decoder;
}

kiv::appli::IDecoder* DecoderFactory::LookupFromFormat(std::string const& format) const
{
    kiv::appli::IDecoder* const decoder = find(m_formats, format);
    if (decoder != nullptr && lookupObserver != nullptr)
        lookupObserver(format);
    return decoder;
}

kiv::appli::IDecoder* DecoderFactory::LookupFromMimeType(std::string const& mimeType) const
{
    return find(m_mimeTypes, mimeType);
}

void observeLookups(void (*observer)(std::string const& format)) { lookupObserver = observer; }

void keepForever(kiv::appli::IDecoder* decoder)
{
    static auto& decoders = *new std::vector<kiv::appli::IDecoder*>;
    decoders.push_back(decoder);
}

kiv::appli::IDecoder* LookupFromFormat(std::string const& format)
{
    return DecoderFactory::Instance().LookupFromFormat(format);
}

kiv::appli::IDecoder* LookupFromMimeType(std::string const& mimeType)
{
    return DecoderFactory::Instance().LookupFromMimeType(mimeType);
}

}} // namespace Avr::Decoder
