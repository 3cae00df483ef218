#include "WavFileSink.h"

#include "Sinks.h"

#include <algorithm>
#include <array>

namespace avr { namespace host {

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "samples are stored as they are");

constexpr std::uint32_t UnknownSize = 0xFFFFFFFFu;

using Header = std::array<std::uint8_t, 44>;

void put16(Header& header, std::size_t at, std::uint32_t value)
{
    header[at] = std::uint8_t(value);
    header[at + 1] = std::uint8_t(value >> 8);
}

void put32(Header& header, std::size_t at, std::uint32_t value)
{
    put16(header, at, value);
    put16(header, at + 2, value >> 16);
}

Header makeHeader(PcmFormat const& format, std::uint32_t riffBytes, std::uint32_t dataBytes)
{
    Header header = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' '};
    const std::uint32_t frameBytes = std::uint32_t(format.frameBytes());
    put32(header, 4, riffBytes);
    put32(header, 16, 16);
    put16(header, 20, 1);
    put16(header, 22, format.channels);
    put32(header, 24, format.rate);
    put32(header, 28, format.rate * frameBytes);
    put16(header, 32, frameBytes);
    put16(header, 34, format.bytesPerSample * 8u);
    std::copy_n("data", 4, header.begin() + 36);
    put32(header, 40, dataBytes);
    return header;
}

/// What the header's fields can say.
bool fitsHeader(PcmFormat const& format)
{
    return format.frameBytes() <= 0xFFFF &&
           std::uint64_t(format.rate) * format.frameBytes() <= 0xFFFFFFFFu;
}

} // namespace

WavFileSink::WavFileSink(std::string path, Pace pace, std::uint64_t mostData)
    : m_file(std::move(path)), m_pacer(pace), m_mostData(mostData)
{}

bool WavFileSink::open(PcmFormat const& format, std::string& error)
{
    if (m_file.isOpen() && m_format != format) {
        error = m_file.name() + ": holds " + describe(m_format) + " and cannot take " +
                describe(format) + " too; write such tracks into different files";
        return false;
    }
    if (!m_file.isOpen() && !begin(format, error))
        return false;
    m_pacer.open(format);
    return true;
}

bool WavFileSink::begin(PcmFormat const& format, std::string& error)
{
    if (!fitsHeader(format)) {
        error = m_file.name() + ": a WAV file cannot hold " + describe(format);
        return false;
    }
    if (!m_file.open(error))
        return false;
    m_format = format;
    m_headerSays = 0;
    const bool known = m_file.canRewrite();
    const Header header = makeHeader(format, known ? 36 : UnknownSize, known ? 0 : UnknownSize);
    m_file.append(header.data(), header.size());
    return m_file.flush(error);
}

long WavFileSink::write(const std::uint8_t* pcm, std::size_t bytes, std::string& error)
{
    bytes = m_pacer.room(bytes);
    if (m_file.canRewrite() && dataBytes() + bytes > m_mostData) {
        error = m_file.name() + ": is full, a WAV file holds 4 GiB at most";
        return -1;
    }
    if (bytes == 0)
        return 0;
    const std::uint8_t* const samples = m_format.bytesPerSample == 1 ? unsign(pcm, bytes) : pcm;
    const long taken = m_file.write(samples, bytes, m_format.frameBytes(), error);
    if (taken <= 0)
        return taken;
    m_pacer.took(std::size_t(taken));
    const std::uint64_t data = dataBytes();
    const bool due = data - m_headerSays >= std::uint64_t(m_format.rate) * m_format.frameBytes();
    return due && !updateHeader(data, 0, error) ? -1 : taken;
}

bool WavFileSink::drained()
{
    // What cannot be stored shows again in close.
    std::string ignored;
    return (!m_file.flush(ignored) || m_file.flushed()) && m_pacer.drained();
}

bool WavFileSink::close(std::string& error)
{
    if (!m_file.isOpen())
        return true;
    std::string ignored;
    bool stored = m_file.flush(error);
    const std::uint64_t data = dataBytes();
    const std::uint8_t pad[1] = {0};
    m_file.append(pad, data % 2);
    stored = m_file.flush(stored ? error : ignored) && stored;
    stored = updateHeader(data, data % 2, stored ? error : ignored) && stored;
    return m_file.close(stored ? error : ignored) && stored;
}

/// WAVE has 8-bit samples unsigned.
const std::uint8_t* WavFileSink::unsign(const std::uint8_t* pcm, std::size_t bytes)
{
    m_unsigned.resize(bytes);
    std::transform(pcm, pcm + bytes, m_unsigned.begin(),
                   [](std::uint8_t sample) { return std::uint8_t(sample ^ 0x80u); });
    return m_unsigned.data();
}

/// Whole frames that the file has.
std::uint64_t WavFileSink::dataBytes() const
{
    const std::uint64_t stored = m_file.stored() - std::min<std::uint64_t>(m_file.stored(), 44);
    return stored - stored % m_format.frameBytes();
}

bool WavFileSink::updateHeader(std::uint64_t data, std::uint64_t pad, std::string& error)
{
    if (!m_file.canRewrite())
        return true;
    m_headerSays = data;
    const Header header = makeHeader(m_format, std::uint32_t(36 + data + pad), std::uint32_t(data));
    return m_file.rewrite(header.data(), header.size(), error);
}

std::unique_ptr<ISoundSink> makeWavFileSink(std::string path, Pace pace)
{
    return std::make_unique<WavFileSink>(std::move(path), pace);
}

}} // namespace avr::host
