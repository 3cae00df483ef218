#include "Source.h"

#include "AacHead.h"
#include "AsfHead.h"
#include "FileHead.h"
#include "Text.h"

#include "codec/CodecSupport.h"
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoderCallback.h"
#include "mime/MimeNames.h"
#include "platform/MimeTable.h"
#include "stream/FileStream.h"

#include <boost/make_shared.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace avr { namespace player {

namespace {

using Avr::Interface::IReadableStream;

constexpr const char* ListHint = "avrplay --formats lists what can be played";

constexpr unsigned int SmallestHeAac = 8192; // its decoder reads that much for the format

bool isAddress(std::string const& path)
{
    std::size_t const end = path.find("://");
    return end != std::string::npos && end > 0 && path.find('/') > end;
}

/// What keeps a file from being played whatever its format, or nothing.
std::string fileComplaint(std::string const& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        int const number = errno;
        if (isAddress(path))
            return "network addresses are not supported yet; give a local file";
        return errnoText(number) + (number == ENOENT ? "; check the name" : "");
    }
    if (S_ISDIR(status.st_mode))
        return "a directory; name the files in it";
    if (S_ISREG(status.st_mode) && status.st_size == 0)
        return "the file is empty; there is nothing to play";
    if (access(path.c_str(), R_OK) != 0)
        return errnoText(errno) + "; check the file's permissions";
    return {};
}

/// The format that the platform's table gives for a MIME type.
std::string formatOfMimeType(std::string const& mimeType)
{
    using namespace kiv::mimetype_ex;
    for (unsigned int i = 0; i < MimeTypeInfoSize; ++i)
        if (mimeType == mimeinfo_list[i].mimeType)
            return mimeinfo_list[i].format;
    return {};
}

bool takeMimeType(Source& source, std::string const& mimeType)
{
    source.format = formatOfMimeType(mimeType);
    source.decoder = Avr::Decoder::LookupFromMimeType(mimeType);
    return source.decoder != nullptr;
}

bool chooseDecoder(Source& source, std::string& error)
{
    const char* const byName = host::mimeTypeFromName(source.path);
    std::string const head = readFileHead(source.path);
    std::string const byContent = host::sniffFormat(head.data(), head.size());
    // A name does not tell the two kinds of AAC apart.
    bool const isHeAac = byName != nullptr && formatOfMimeType(byName) == "aac" &&
                         formatOfMimeType(byContent) == "he-aac";
    if (byName != nullptr && !isHeAac && takeMimeType(source, byName))
        return true;
    if (takeMimeType(source, byContent))
        return true;
    std::string const known = byName != nullptr ? formatOfMimeType(byName) : source.format;
    error = known.empty() ? "neither name nor content tells its format; name it with -f"
                          : "the decoder for " + known + " is not built in";
    error += std::string(" (") + ListHint + ")";
    return false;
}

std::string mp3Complaint(std::string const& head, double length)
{
    unsigned int const tag = id3v2Bytes(head);
    if (tag != 0 && tag >= length)
        return "nothing stands behind its tag (ID3v2): cut off, or without audio; get a complete "
               "copy";
    auto const byte = [&](std::size_t at) {
        return tag + at < head.size() ? static_cast<unsigned char>(head[tag + at]) : 0u;
    };
    if (byte(0) != 0xFF || (byte(1) & 0xE0) != 0xE0)
        return {};
    constexpr unsigned int Layer = 6, LayerIII = 2, BitRate = 0xF0;
    if ((byte(1) & Layer) > LayerIII)
        return "MPEG audio of another layer than III; convert it";
    if ((byte(1) & Layer) == LayerIII && (byte(2) & BitRate) == 0)
        return "MP3 of free format, which tells no bit rate; convert it";
    return {};
}

/// What a file's beginning tells of why its decoder does not play it, or nothing.
std::string formatComplaint(Source const& source, std::string const& head)
{
    std::string const& format = source.format;
    if (format.compare(0, 3, "wav") == 0)
        return WaveHead(head).complaint();
    if (format == "mp3")
        return mp3Complaint(head, source.length());
    if (format == "aac")
        return aacComplaint(source.path, head);
    if (format == "wma" && head.compare(0, 4, "\x30\x26\xB2\x75") == 0)
        return asfComplaint(source.path);
    if (format == "ogg" && head.compare(0, 4, "OggS") == 0 &&
        host::sniffFormat(head.data(), head.size()).empty())
        return "an Ogg file without Vorbis in it; of Ogg files only Vorbis is played";
    if (format == "he-aac" && source.length() < SmallestHeAac)
        return "a file of this format needs at least " + std::to_string(SmallestHeAac) + " bytes";
    return {};
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

bool findSource(std::string const& path, Options const& options, Source& source, std::string& error)
{
    source.path = path;
    source.pcm = options.pcm;
    error = fileComplaint(path);
    if (!error.empty())
        return false;
    if (options.format.empty()) {
        if (!chooseDecoder(source, error))
            return false;
    } else {
        source.format = options.format; // main has seen to it that it is there
        source.decoder = Avr::Decoder::LookupFromFormat(options.format);
    }
    WaveHead const head(source.isHeaderless() ? std::string() : readFileHead(path));
    if (head.foreignSubFormat())
        error = head.complaint();
    source.stream = boost::make_shared<host::FileStream>(path);
    return error.empty();
}

std::string explainFailure(Source const& source, int event, bool known)
{
    int const number = source.stream->GetErrorStatus();
    if (number > 0)
        return std::string(known ? "reading failed: " : "cannot be read: ") + errnoText(number);
    if (known)
        return "decoding failed before the end of the file";
    std::string const head = readFileHead(source.path);
    std::string const content = formatOfMimeType(host::sniffFormat(head.data(), head.size()));
    bool const builtIn = Avr::Decoder::LookupFromFormat(content) != nullptr;
    if (builtIn && source.format.compare(0, content.size(), content) != 0)
        return "holds " + content + ", not " + source.format + "; play it with -f " + content;
    std::string const missing = host::missingCodecs();
    if (!missing.empty())
        return "the codec for " + source.format + " cannot be loaded: " + missing;
    std::string const complaint = head.empty() ? std::string() : formatComplaint(source, head);
    if (!complaint.empty())
        return complaint;
    if (event == kiv::appli::EventRunFailed)
        return "cannot be opened";
    if (source.format == "aac" && !source.canSeek())
        return "the aac decoder does not understand it: damaged, of another format, or an MP4 file "
               "whose table of contents (moov) stands behind the audio, out of a pipe's reach";
    return "the " + source.format +
           " decoder does not understand it: damaged, or of another format (name it with -f)";
}

}} // namespace avr::player
