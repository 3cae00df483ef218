#include "SkeletonDecoder.h"

#include "PcmFormat.h"
#include "PcmTime.h"
#include "PropertyAnswer.h"

#include <cstring>

namespace kiv { namespace appli {

using namespace Avr::Decoder;

namespace {

constexpr std::size_t HeadBytes = 10;
constexpr std::uint32_t HighestRate = 192000;
constexpr std::uint16_t MostChannels = 2;

std::uint32_t littleEndian(const std::uint8_t* bytes, int count)
{
    std::uint32_t value = 0;
    while (count-- > 0)
        value = value << 8 | bytes[count];
    return value;
}

tWAVEFORMAT formatOf(std::uint32_t rate, std::uint16_t channels)
{
    tWAVEFORMAT format{};
    format.formatTag = 1;
    format.channels = channels;
    format.samplesPerSecond = rate;
    format.bitsPerSample = 16;
    format.validBitsPerSample = 16;
    format.blockAlign = blockAlignOf(channels, 16);
    format.averageBytesPerSecond = rate * format.blockAlign;
    return format;
}

} // namespace

/// Before event 2: reads the head. Whatever a file says is checked here, once.
int SkeletonDecoder::openHook(StreamPtr stream)
{
    SetBaseStream(stream);
    std::uint8_t head[HeadBytes];
    if (Read(head, HeadBytes) == 0 || std::memcmp(head, "DLTA", 4) != 0)
        return ErrorFailed;
    std::uint32_t const rate = littleEndian(head + 4, 4);
    auto const channels = static_cast<std::uint16_t>(littleEndian(head + 8, 2));
    if (rate == 0 || rate > HighestRate || channels == 0 || channels > MostChannels)
        return ErrorFailed;
    m_streamInfo.format = formatOf(rate, channels);
    m_streamInfo.codecId = Codec;
    m_streamInfo.bitRate = rate * channels * 8;
    m_last.assign(channels, 0);
    m_pcm.resize(FramesPerBlock * channels);
    return Ok;
}

/// Between events 4 and 6: reads, decodes, delivers. nextPass waits out a pause and the end of the
/// track; what is read last puts the end mark, so that the next pass finds it.
int SkeletonDecoder::playThread()
{
    std::uint32_t const bytesPerSecond = m_streamInfo.format.averageBytesPerSecond;
    std::vector<std::int8_t> coded(m_pcm.size());
    for (;;) {
        Pass const pass = nextPass();
        if (pass == Pass::PlayedOut)
            return ResultEndOfStream;
        if (pass == Pass::Stopped)
            return interruptedResult();
        unsigned int const got = ReadChunk(coded.data(), static_cast<unsigned int>(coded.size()));
        std::size_t const frames = got / m_last.size(); // a frame that is cut off is not played
        if (frames == 0)
            continue;
        decode(coded.data(), frames);
        auto const bytes = static_cast<unsigned int>(frames * m_last.size() * 2);
        TimeSpec duration = playingTime(bytes, bytesPerSecond);
        int const result = SendOnSample(m_pcm.data(), bytes, &duration);
        if (result < 0)
            return result;
        PauseCheck();
    }
}

void SkeletonDecoder::decode(const std::int8_t* coded, std::size_t frames)
{
    std::int16_t* to = m_pcm.data();
    for (std::size_t frame = 0; frame < frames; ++frame)
        for (std::int16_t& last : m_last) // wraps round, whatever the bytes say
            *to++ = last = static_cast<std::int16_t>(last + *coded++ * 256);
}

/// Before event 1: lets go what belongs to the run.
void SkeletonDecoder::closeHook()
{
    m_last.clear();
    m_pcm.clear();
    m_reader.install(nullptr);
}

int SkeletonDecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return answerProperty(type, *this, "Skeleton", value);
}

}} // namespace kiv::appli
