#include "FileHead.h"

#include "platform/Mp3TagParser.h"

#include <cstdint>
#include <fstream>

#include <sys/stat.h>

namespace avr { namespace player {

namespace {

/// The WAVE decoder reads this much before it looks for anything.
constexpr std::size_t HeadBytes = 4096;
constexpr std::size_t SubFormatOffset = 24;
constexpr std::size_t ShortestFormat = 16;
constexpr std::size_t ExtensibleFormat = 40;

std::uint32_t number(std::string const& bytes, std::size_t at, std::size_t width)
{
    std::uint32_t value = 0;
    for (std::size_t i = width; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(at + i < bytes.size() ? bytes[at + i] : 0);
    return value;
}

std::string tagText(unsigned tag)
{
    switch (tag) {
    case 2:
        return "ADPCM";
    case 3:
        return "floating-point samples";
    case 6:
        return "A-law";
    case 7:
        return "mu-law";
    case 0x55:
        return "MP3";
    default:
        return "format tag " + std::to_string(tag);
    }
}

} // namespace

std::string readFileHead(std::string const& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    std::ifstream file(path, std::ios::binary);
    std::string head(HeadBytes, '\0');
    file.read(&head[0], static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(file.gcount()));
    return head;
}

unsigned int id3v2Bytes(std::string const& head)
{
    return CMp3TagParser(head.data(), static_cast<unsigned int>(head.size()), true, false, false)
        .getID3v2HeaderSize();
}

WaveHead::WaveHead(std::string const& head) : m_size(head.size())
{
    std::size_t const riff = head.find("RIFF");
    m_riff = riff != std::string::npos;
    m_wave = m_riff && head.compare(riff + 8 < m_size ? riff + 8 : m_size, 4, "WAVE") == 0;
    std::size_t at = riff + 12;
    while (m_wave && at + 8 <= m_size && walk(head, at))
        at += 8 + std::size_t(number(head, at + 4, 4) & 0x7FFFFFFF);
}

/// Takes one chunk. @return false when it is the last that matters
bool WaveHead::walk(std::string const& head, std::size_t at)
{
    if (head.compare(at, 4, "fmt ") == 0 && at + 8 + ShortestFormat <= m_size) {
        m_format = true;
        m_tag = number(head, at + 8, 2);
        if (number(head, at + 4, 4) >= ExtensibleFormat)
            m_subFormat = number(head, at + 8 + SubFormatOffset, 2);
    }
    m_data = head.compare(at, 4, "data") == 0;
    return !m_data;
}

std::string WaveHead::complaint() const
{
    bool const whole = m_size < HeadBytes; // the head is all there is
    if (!m_riff)
        return "not a WAVE file (no RIFF header); name its format with -f";
    if (!m_wave)
        return "a RIFF file, but not WAVE; avrplay cannot play it";
    if (!m_format || !m_data)
        return whole ? "the WAVE header is cut off; get a complete copy of the file"
                     : "no WAVE format and data within its first 4096 bytes; convert the file";
    if (foreignSubFormat() || (m_tag != 1 && m_tag != 0xFFFE))
        return "WAVE with " + tagText(foreignSubFormat() ? m_subFormat : m_tag) +
               "; only integer PCM is played, convert the file";
    if (whole)
        return "too short: the WAVE decoder needs a file of at least 4096 bytes";
    return {};
}

}} // namespace avr::player
