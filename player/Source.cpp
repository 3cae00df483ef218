#include "Source.h"

#include "Text.h"

#include "decoder/DecoderFactory.h"
#include "mime/MimeNames.h"
#include "platform/MimeTable.h"

#include <cstdlib>

namespace avr { namespace player {

namespace {

using Avr::Interface::IReadableStream;

bool takeMimeType(Source& source, std::string const& mimeType)
{
    source.format = formatOfMimeType(mimeType);
    source.decoder = Avr::Decoder::LookupFromMimeType(mimeType);
    return source.decoder != nullptr;
}

/// What of an address is a file's name.
std::string nameOf(Source const& source)
{
    return source.network ? source.path.substr(0, source.path.find_first_of("?#")) : source.path;
}

} // namespace

bool Source::canSeek() const
{
    // These position by byte only, and MP3 says that it has moved even where the stream has not.
    bool const byByte = format == "mp3" || format == "aac" || format == "wma";
    int const wanted = IReadableStream::CanSeekByte | (byByte ? 0 : IReadableStream::CanSeekTime);
    return (stream->GetCapabilities() & wanted) != 0;
}

double Source::length() const
{
    std::string text;
    if (stream->GetStreamProperty(IReadableStream::ContentLength, text) < 0)
        return 0;
    return std::strtod(text.c_str(), nullptr);
}

std::string Source::streamFault() const
{
    int const number = stream->GetErrorStatus();
    if (network && number != 0)
        return network->errorText();
    return number > 0 ? errnoText(number) : std::string();
}

bool Source::isStarved() const
{
    constexpr std::chrono::seconds Long(4); // the least patient decoder waits 5
    return network && network->status().silent >= Long;
}

std::string formatOfMimeType(std::string const& mimeType)
{
    using namespace kiv::mimetype_ex;
    for (unsigned int i = 0; i < MimeTypeInfoSize; ++i)
        if (mimeType == mimeinfo_list[i].mimeType)
            return mimeinfo_list[i].format;
    return {};
}

bool chooseDecoder(Source& source, std::string const& mimeType, std::string& error)
{
    const char* const named = host::mimeTypeFromName(nameOf(source));
    std::string const byName = named != nullptr ? named : "";
    std::string const byContent = host::sniffFormat(source.head.data(), source.head.size());
    std::string const told = formatOfMimeType(mimeType).empty() ? byName : mimeType;
    // Neither tells the two kinds of AAC apart.
    bool const isHeAac = formatOfMimeType(told) == "aac" && formatOfMimeType(byContent) == "he-aac";
    if (!isHeAac && takeMimeType(source, told))
        return true;
    if (takeMimeType(source, byContent))
        return true;
    if (mimeType == "text/html")
        error = "a web page, no sound; look on it for the address of the stream";
    else if (mimeType == "application/x-mms-framed")
        error = "a media server's stream; play it by an address that begins with mms://";
    else
        error = "neither name nor content tells its format; name it with -f "
                "(avrplay --formats lists what can be played)";
    return false;
}

}} // namespace avr::player
