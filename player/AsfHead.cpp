#include "AsfHead.h"

#include "AsfHeader.h"
#include "StreamReader.h"

namespace avr { namespace player {

using Avr::Interface::IReadableStream;

namespace {

std::optional<host::AsfHeader> readHeader(IReadableStream& stream)
{
    StreamVisit const visit(stream);
    if (!visit)
        return {};
    return host::readAsfHeader(
        [&stream](std::uint8_t* to, std::size_t bytes) { return readAll(stream, to, bytes); }, 0);
}

std::string kindOf(unsigned int formatTag)
{
    switch (formatTag) {
    case 0x0A:
        return "WMA Voice";
    case 0x162:
        return "WMA Pro";
    case 0x160:
    case 0x161:
    case 0x163:
        return {};
    default:
        return "audio that is not WMA (format tag " + std::to_string(formatTag) + ")";
    }
}

} // namespace

bool isAsf(std::string const& head) { return head.compare(0, 4, "\x30\x26\xB2\x75") == 0; }

double asfDuration(IReadableStream& stream)
{
    std::optional<host::AsfHeader> const header = readHeader(stream);
    return header ? header->duration / 1000.0 : 0;
}

std::string asfComplaint(IReadableStream& stream)
{
    std::optional<host::AsfHeader> const header = readHeader(stream);
    if (!header)
        return "an ASF file with a damaged header, without audio, or protected; only unprotected "
               "files are played";
    std::string const kind = kindOf(header->stream.formatTag);
    return kind.empty() ? "damaged, or of more than two channels; only mono and stereo are played"
                        : "holds " + kind + "; WMA 1, 2 and Lossless are played, convert it";
}

}} // namespace avr::player
