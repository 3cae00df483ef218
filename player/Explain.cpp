#include "Explain.h"

#include "AacHead.h"
#include "AsfHead.h"
#include "FileHead.h"

#include "codec/CodecSupport.h"
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoderCallback.h"
#include "mime/MimeNames.h"

namespace avr { namespace player {

namespace {

constexpr unsigned int SmallestHeAac = 8192; // its decoder reads that much for the format

std::string mp3Complaint(std::string const& head, double length)
{
    unsigned int const tag = id3v2Bytes(head);
    if (tag != 0 && length > 0 && tag >= length)
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

/// What the beginning tells of why its decoder does not play it, or nothing.
std::string formatComplaint(Source const& source)
{
    std::string const& format = source.format;
    std::string const& head = source.head;
    if (format.compare(0, 3, "wav") == 0)
        return WaveHead(head).complaint();
    if (format == "mp3")
        return mp3Complaint(head, source.length());
    if (format == "aac" && source.isFile)
        return aacComplaint(*source.stream, head);
    if (format == "wma" && source.isFile && isAsf(head))
        return asfComplaint(*source.stream);
    if (format == "ogg" && head.compare(0, 4, "OggS") == 0 &&
        host::sniffFormat(head.data(), head.size()).empty())
        return "an Ogg file without Vorbis in it; of Ogg files only Vorbis is played";
    if (format == "he-aac" && source.length() > 0 && source.length() < SmallestHeAac)
        return "a file of this format needs at least " + std::to_string(SmallestHeAac) + " bytes";
    return {};
}

} // namespace

std::string explainFailure(Source const& source, int event, bool known)
{
    std::string const fault = source.streamFault();
    if (!fault.empty())
        return source.network
                   ? fault
                   : std::string(known ? "reading failed: " : "cannot be read: ") + fault;
    if (known)
        return "decoding failed before the end of the file";
    std::string const content =
        formatOfMimeType(host::sniffFormat(source.head.data(), source.head.size()));
    bool const builtIn = Avr::Decoder::LookupFromFormat(content) != nullptr;
    if (builtIn && source.format.compare(0, content.size(), content) != 0)
        return "holds " + content + ", not " + source.format + "; play it with -f " + content;
    std::string const missing = host::missingCodecs();
    if (!missing.empty())
        return "the codec for " + source.format + " cannot be loaded: " + missing;
    std::string const complaint = source.head.empty() ? std::string() : formatComplaint(source);
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
