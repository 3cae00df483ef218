#include "AsfHead.h"

#include "AsfHeader.h"

#include <fstream>

namespace avr { namespace player {

namespace {

std::optional<host::AsfHeader> readHeader(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return host::readAsfHeader(
        [&file](std::uint8_t* to, std::size_t bytes) {
            return !file.read(reinterpret_cast<char*>(to), std::streamsize(bytes)).fail();
        },
        0);
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

double asfDuration(std::string const& path)
{
    std::optional<host::AsfHeader> const header = readHeader(path);
    return header ? header->duration / 1000.0 : 0;
}

std::string asfComplaint(std::string const& path)
{
    std::optional<host::AsfHeader> const header = readHeader(path);
    if (!header)
        return "an ASF file with a damaged header, without audio, or protected; only unprotected "
               "files are played";
    std::string const kind = kindOf(header->stream.formatTag);
    return kind.empty() ? "damaged, or of more than two channels; only mono and stereo are played"
                        : "holds " + kind + "; WMA 1, 2 and Lossless are played, convert it";
}

}} // namespace avr::player
