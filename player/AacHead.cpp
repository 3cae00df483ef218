#include "AacHead.h"

#include "AdtsFrame.h"
#include "Mp4Atoms.h"
#include "StreamReader.h"
#include "platform/codecs/vmp4.h"

namespace avr { namespace player {

using Avr::Interface::IReadableStream;

namespace {

unsigned int readStream(void* to, unsigned int elementSize, unsigned int count, void* stream)
{
    std::size_t const bytes = std::size_t{elementSize} * count;
    return readAll(*static_cast<IReadableStream*>(stream), to, bytes) ? elementSize * count : 0;
}

int seekStream(void* stream, long offset, int)
{
    return static_cast<IReadableStream*>(stream)->SeekByte(offset) >= 0 ? 0 : -1;
}

/// What describes the tracks of an MP4 file; empty when that is missing or not whole.
std::string readMoov(IReadableStream& stream)
{
    StreamVisit const visit(stream);
    if (!visit)
        return {};
    host::Mp4Input input(
        [&stream](std::uint8_t* to, std::size_t bytes) { return readAll(stream, to, bytes); },
        [&stream](std::uint64_t position) {
            return stream.SeekByte(static_cast<long long>(position)) >= 0;
        });
    std::vector<std::uint8_t> const head = host::readMp4Head(input);
    return {head.begin(), head.end()};
}

/// What the tracks hold, by the type of each one's first sample description: "mp4a, avc1".
std::string trackTypes(std::string const& moov)
{
    constexpr std::size_t TypeOffset = 16;
    constexpr std::size_t TypeBytes = 4;
    constexpr std::size_t EnoughToRead = 40;
    std::string types;
    for (std::size_t at = 0; (at = moov.find("stsd", at)) != std::string::npos; ++at)
        if (at + TypeOffset < moov.size() && types.size() < EnoughToRead)
            types += (types.empty() ? "" : ", ") + moov.substr(at + TypeOffset, TypeBytes);
    return types;
}

std::string mp4Complaint(std::string const& moov)
{
    if (moov.empty())
        return "an MP4 file without its table of contents (moov): cut off, or never finished; get "
               "a complete copy";
    std::string const types = trackTypes(moov);
    auto const holds = [&types](const char* type) { return types.find(type) != std::string::npos; };
    if (holds("enca") || holds("drms"))
        return "its audio is encrypted; only unprotected files are played";
    if (!holds("mp4a"))
        return "an MP4 file without AAC (it holds " + (types.empty() ? "nothing" : types) +
               "); of MP4 files only AAC is played";
    if (moov.find("mvex") != std::string::npos)
        return "an MP4 file in fragments; only files in one piece are played, convert it";
    return "the audio in this MP4 file is damaged, or neither AAC-LC nor HE-AAC in mono or stereo; "
           "convert it";
}

} // namespace

bool isMp4(std::string const& head) { return head.size() >= 8 && head.compare(4, 4, "ftyp") == 0; }

std::uint32_t mp4CoreRate(IReadableStream& stream)
{
    StreamVisit const visit(stream);
    VMP4_Config const config = {readStream, seekStream, &stream};
    VMP4_Info info;
    unsigned char state[VMP4_StateBytes];
    if (!visit || VMP4_open(&config, &info, state) != 0)
        return 0;
    VMP4_close(state);
    return info.samplingRate;
}

std::string aacComplaint(IReadableStream& stream, std::string const& head)
{
    if (isMp4(head))
        return mp4Complaint(readMoov(stream));
    host::AdtsHeader frame;
    bool const isAdts =
        head.size() >= host::AdtsHeader::FixedBytes &&
        host::parseAdtsHeader(reinterpret_cast<const std::uint8_t*>(head.data()), frame);
    return isAdts && frame.format.channels > 2
               ? "AAC with more than two channels; only mono and stereo are played"
               : "";
}

}} // namespace avr::player
