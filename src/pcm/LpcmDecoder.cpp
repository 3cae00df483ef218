#include "LpcmDecoder.h"

#include "Deadlines.h"
#include "PcmFormat.h"
#include "PcmTime.h"
#include "PropertyAnswer.h"
#include "StreamSeek.h"
#include "TransEndian.h"

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <iostream>

namespace Avr { namespace Decoder {

using namespace kiv::appli;
using StateLock = boost::lock_guard<boost::mutex>;

namespace {

tWAVEFORMAT defaultFormat()
{
    tWAVEFORMAT format{};
    format.formatTag = 1;
    format.channels = 2;
    format.samplesPerSecond = 44100;
    format.averageBytesPerSecond = 176400;
    format.blockAlign = 4;
    format.bitsPerSample = 16;
    format.validBitsPerSample = 16;
    return format;
}

/// @return false, and the field as it was, when the text is no number that fits
template <class Field>
bool parseInto(std::string const& text, Field& field)
{
    Field number = 0;
    // lexical_cast would wrap a negative number.
    if (text.find('-') != std::string::npos ||
        !boost::conversion::try_lexical_convert(text, number))
        return false;
    field = number;
    return true;
}

} // namespace

/// The two buffers of a run. An odd byte at the end of a read waits for its other half.
class LpcmDecoder::Block {
public:
    explicit Block(std::size_t bytes) : m_in(bytes / 2), m_out(bytes / 2) {}

    char* room() { return reinterpret_cast<char*>(m_in.data()) + m_carried; }
    unsigned int roomBytes() const { return bytes() - m_carried; }

    /// Takes so many bytes that were read into the room and swaps the whole words.
    /// @return bytes of PCM
    unsigned int convert(unsigned int got)
    {
        unsigned int const all = m_carried + got;
        unsigned int const words = all / 2;
        kiv::sound::transEndian(m_in.data(), m_out.data(), words);
        m_carried = all % 2;
        if (m_carried != 0)
            m_in[0] = m_in[words]; // its first byte is the odd one
        return words * 2;
    }
    /// The stream was repositioned: what was carried belongs elsewhere.
    void forget() { m_carried = 0; }
    const void* pcm() const { return m_out.data(); }

private:
    unsigned int bytes() const { return static_cast<unsigned int>(m_in.size() * sizeof(short)); }

    std::vector<short> m_in;
    std::vector<short> m_out;
    unsigned int m_carried = 0;
};

void LpcmDecoder::prepareRun()
{
    StateLock lock(stateLock());
    m_format = defaultFormat();
}

int LpcmDecoder::openHook(StreamPtr)
{
    m_streamInfo.format = defaultFormat();
    m_streamInfo.codecId = CodecLpcm;
    m_streamInfo.bitRate = 1411200;
    m_streamInfo.decoderWord = 0;
    return Ok;
}

/// Freezes what follows from channels and bits for the rest of the run.
tWAVEFORMAT LpcmDecoder::settleFormat()
{
    StateLock lock(stateLock());
    m_format.blockAlign = blockAlignOf(m_format.channels, m_format.bitsPerSample);
    m_format.averageBytesPerSecond = m_format.samplesPerSecond * m_format.blockAlign;
    return m_format;
}

/// @return bytes read, 0 when there is nothing yet; negative when the stream ended or failed
int LpcmDecoder::readBlock(Block& block)
{
    StreamPtr const stream = currentStream();
    unsigned int got = 0;
    int result = ErrorFailed;
    {
        boost::lock_guard<boost::recursive_mutex> lock(decoderLock());
        if (newPosition())
            block.forget();
        try {
            result = stream->Read(block.room(), block.roomBytes(), &got);
        } catch (boost::thread_interrupted&) {
            throw;
        } catch (...) { // a stream that throws has failed
        }
    }
    if (result < 0 && result != StreamRetry)
        return result;
    if (result == StreamRetry || got == 0) {
        auto const pause = deadlines().retryPause.count();
        boost::this_thread::sleep_for(boost::chrono::milliseconds(pause));
        return 0;
    }
    return static_cast<int>(std::min(got, block.roomBytes()));
}

int LpcmDecoder::playThread()
{
    tWAVEFORMAT const format = settleFormat();
    std::size_t const blockBytes = format.blockAlign * FramesPerBlock * sizeof(short);
    if (blockBytes == 0 || blockBytes > LargestBlock)
        return ErrorFailed;
    Block block(blockBytes);
    int result = Ok;
    while (IsDecoding()) {
        int const got = readBlock(block);
        if (got < 0) {
            if (endsHere())
                return ResultEndOfStream;
            continue;
        }
        unsigned int const bytes = block.convert(static_cast<unsigned int>(got));
        if (bytes != 0 && hasCallback()) {
            TimeSpec duration = playingTime(bytes, format.averageBytesPerSecond);
            result = SendOnSample(block.pcm(), bytes, &duration);
            if (result < 0)
                return result;
        }
        result = PauseCheck();
        if (result < 0) {
            std::cout << "Time out" << std::endl;
            return result;
        }
    }
    return result;
}

int LpcmDecoder::Seek(long) { return ErrorNotSupported; }

int LpcmDecoder::Seek(double) { return ErrorNotSupported; }

int LpcmDecoder::Seek(TimeSpec const& position)
{
    SeekScope seek(*this);
    StreamPtr const stream = currentStream();
    if (!seek || !stream)
        return ErrorFailed;
    int const result = reposition(*stream, position);
    if (result >= 0)
        SendPosition(position);
    return result;
}

int LpcmDecoder::reposition(Stream& stream, TimeSpec const& position)
{
    int const capabilities = capabilitiesOf(stream);
    if (capabilities & Stream::CanSeekTime)
        return seekTime(*this, stream, toSeconds(position));
    if (capabilities & Stream::CanSeekByte) {
        tWAVEFORMAT const format = this->format();
        return seekByte(*this, stream,
                        byteOffset(position, format.averageBytesPerSecond, format.blockAlign));
    }
    return ErrorNotSupported;
}

int LpcmDecoder::SetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    StateLock lock(stateLock());
    bool understood = true;
    switch (type) {
    case DecoderPropTypeBase::SampleRate:
        understood = parseInto(value, m_format.samplesPerSecond);
        break;
    case DecoderPropTypeBase::BitsPerSample:
        understood = parseInto(value, m_format.bitsPerSample);
        break;
    case DecoderPropTypeBase::Channels:
        understood = parseInto(value, m_format.channels);
        break;
    default:
        break;
    }
    return understood ? Ok : ErrorFailed;
}

int LpcmDecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return answerProperty(type, format(), "Lpcm", value);
}

int LpcmDecoder::GetWaveFormat(tWAVEFORMAT& format)
{
    format = this->format();
    return Ok;
}

LpcmDecoder::tWAVEFORMAT LpcmDecoder::format() const
{
    StateLock lock(stateLock());
    return m_format;
}

}} // namespace Avr::Decoder
