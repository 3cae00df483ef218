#include "WaveDecoderCore.h"

#include "Log.h"
#include "PcmFormat.h"
#include "PcmTime.h"
#include "PropertyAnswer.h"
#include "StreamSeek.h"
#include "WaveDecoder.h"
#include "WaveTestModeDecoder.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <vector>

namespace kiv { namespace appli {

using namespace Avr::Decoder;
using StateLock = boost::lock_guard<boost::mutex>;

namespace {

constexpr std::size_t HeadBytes = 4096;
constexpr unsigned int UnknownRateBuffer = 512000;
constexpr std::uint16_t TagPcm = 1;
constexpr std::uint16_t TagExtensible = 0xFFFE;

std::string hexadecimal(unsigned int number)
{
    std::ostringstream text;
    text << std::hex << number;
    return text.str();
}

/// Says why the head cannot be used. @return whether it can
bool isUsable(RiffHead const& head, std::string const& who)
{
    if (head.status == RiffHead::Status::NotWave)
        logLine("[getWaveFormatFromBuffer] couldn't find 'WAVE' tag.");
    if (head.status == RiffHead::Status::RanOver)
        logLine("[getWaveFormatFromBuffer] ptr over!!. distance=" + std::to_string(head.distance));
    if (head.status != RiffHead::Status::Found) {
        logLine(who + "can't get Waveformat.");
        return false;
    }
    if (head.format.formatTag != TagPcm && head.format.formatTag != TagExtensible) {
        logLine(who + "unsupported format: " + hexadecimal(head.format.formatTag));
        return false;
    }
    return true;
}

template <class Leaf>
std::string moveToTopPrefix()
{
    return std::string("[") + WaveTraits<Leaf>::Name + "::moveToTop] ";
}

} // namespace

template <class Leaf>
void WaveDecoderCore<Leaf>::prepareRun()
{
    StateLock lock(this->stateLock());
    m_head = RiffHead();
}

template <class Leaf>
RiffHead WaveDecoderCore<Leaf>::head() const
{
    StateLock lock(this->stateLock());
    return m_head;
}

template <class Leaf>
int WaveDecoderCore<Leaf>::openHook(StreamPtr stream)
{
    if (!stream)
        return ErrorFailed;
    this->SetBaseStreamEx(stream);
    return moveToTop(stream);
}

/// Reads the head and goes to the first byte of audio. @return 0; 1 when the stream failed to move
/// there (it plays on from where it is); -10002 when there is nothing to play
template <class Leaf>
int WaveDecoderCore<Leaf>::moveToTop(StreamPtr const& stream)
{
    if (!readHead())
        return ErrorFailed;
    RiffHead const head = this->head();
    std::cout << "bits = " + std::to_string(head.format.bitsPerSample) +
                     "\nsample-freq = " + std::to_string(head.format.samplesPerSecond) + '\n'
              << std::flush;
    fillStreamInfo(head);
    measureDuration(stream, head);
    std::fprintf(stderr, "%sseek offset = %d\n", moveToTopPrefix<Leaf>().c_str(),
                 static_cast<int>(head.dataOffset));
    int const result = seekBufferedByte(*this, this->m_reader.stream().get(), head.dataOffset);
    std::uint32_t const bitRate = this->m_streamInfo.bitRate;
    this->StartBuffering(static_cast<int>(bitRate == 0 ? UnknownRateBuffer : bitRate));
    return result;
}

template <class Leaf>
bool WaveDecoderCore<Leaf>::readHead()
{
    std::vector<std::uint8_t> bytes(HeadBytes);
    if (this->Read(bytes.data(), HeadBytes) == 0)
        return false;
    RiffHead const head = parseRiffHead(bytes.data(), bytes.size());
    if (!isUsable(head, moveToTopPrefix<Leaf>()))
        return false;
    StateLock lock(this->stateLock());
    m_head = head;
    return true;
}

template <class Leaf>
void WaveDecoderCore<Leaf>::fillStreamInfo(RiffHead const& head)
{
    tWAVEFORMAT format{};
    format.formatTag = TagPcm;
    format.channels = head.format.channels;
    format.bitsPerSample = head.format.bitsPerSample;
    format.validBitsPerSample = head.format.bitsPerSample;
    format.blockAlign = blockAlignOf(format.channels, format.bitsPerSample);
    format.samplesPerSecond = head.format.samplesPerSecond;
    format.averageBytesPerSecond = format.samplesPerSecond * format.blockAlign;
    this->m_streamInfo.format = format;
    this->m_streamInfo.codecId = CodecWave;
    this->m_streamInfo.bitRate = head.format.averageBytesPerSecond * 8;
    this->m_streamInfo.decoderWord = 0;
}

/// The duration in milliseconds goes into the decoder's own word.
template <class Leaf>
void WaveDecoderCore<Leaf>::measureDuration(StreamPtr const& stream, RiffHead const& head)
{
    long long const dataSize = contentLength(*stream) - head.dataOffset;
    WaveTraits<Leaf>::reportDataSize(dataSize);
    if (dataSize <= 0)
        return;
    this->m_streamInfo.decoderWord = durationMilliseconds(dataSize, WaveTraits<Leaf>::DurationTimes,
                                                          this->m_streamInfo.bitRate / 8);
    std::fprintf(stderr, "%sduration = %d\n", moveToTopPrefix<Leaf>().c_str(),
                 static_cast<int>(this->m_streamInfo.decoderWord));
}

template <class Leaf>
std::size_t WaveDecoderCore<Leaf>::blockBytes() const
{
    std::size_t const bytes = head().format.blockAlign * FramesPerBlock;
    logLine(std::string("[") + WaveTraits<Leaf>::Name + "::] bufSize = " + std::to_string(bytes));
    return bytes > LargestBlock ? 0 : bytes;
}

template <class Leaf>
void WaveDecoderCore<Leaf>::makeSigned(std::uint8_t* pcm, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        pcm[i] ^= 0x80;
}

template <class Leaf>
int WaveDecoderCore<Leaf>::deliver(const std::uint8_t* pcm, unsigned int bytes,
                                   RiffHead const& head)
{
    TimeSpec duration = playingTime(bytes, head.format.averageBytesPerSecond);
    return this->SendOnSample(pcm, bytes, &duration);
}

template <class Leaf>
int WaveDecoderCore<Leaf>::Seek(TimeSpec const& position)
{
    typename DecoderImple::SeekScope seek(*this);
    StreamPtr const stream = this->currentStream();
    if (!seek || !stream)
        return ErrorFailed;
    auto const buffered = this->m_reader.stream();
    int const capabilities = capabilitiesOf(*stream);
    int result = ErrorNotSupported;
    if (capabilities & Avr::Interface::IReadableStream::CanSeekByte) {
        RiffHead const head = this->head();
        auto const offset =
            byteOffset(position, head.format.averageBytesPerSecond, head.format.blockAlign);
        // The sum has 32 bits, like the sizes in such a file.
        auto const target = static_cast<std::uint32_t>(offset) + head.dataOffset;
        result = seekBufferedByte(*this, buffered.get(), target);
    } else if (capabilities & Avr::Interface::IReadableStream::CanSeekTime) {
        result = buffered ? seekTime(*this, *buffered, toSeconds(position)) : ErrorFailed;
    }
    if (result >= 0)
        this->SendPosition(position);
    return result;
}

template <class Leaf>
int WaveDecoderCore<Leaf>::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return answerProperty(type, head().format, "Wave", value);
}

template <class Leaf>
int WaveDecoderCore<Leaf>::GetWaveFormat(tWAVEFORMAT& format)
{
    format = head().format;
    return Ok;
}

template class WaveDecoderCore<WaveDecoder>;
template class WaveDecoderCore<WaveTestModeDecoder>;

}} // namespace kiv::appli
