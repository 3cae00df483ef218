#include "FlacDecoder.h"

#include "FlacCodec.h"
#include "PcmTime.h"
#include "PropertyAnswer.h"

#include <boost/thread/lock_guard.hpp>

namespace kiv { namespace appli {

using DecoderLock = boost::lock_guard<boost::recursive_mutex>;

namespace {

LibraryStream::LastFill lastFill{LibraryStream::NothingReported};

} // namespace

/// The stream, and libFLAC over it.
class FlacDecoder::Input {
public:
    explicit Input(DecoderImple& engine) : stream(engine, lastFill), codec(stream) {}

    LibraryStream stream;
    FlacCodec codec;
};

FlacDecoder::FlacDecoder() : m_input(std::make_unique<Input>(*this)) {}

FlacDecoder::~FlacDecoder() { Close(); }

int FlacDecoder::openHook(StreamPtr stream)
{
    m_input->stream.open(stream);
    if (!m_input->codec.open()) {
        Close();
        return ErrorFailed;
    }
    FlacCodec::Description const found = m_input->codec.description();
    tWAVEFORMAT& format = m_streamInfo.format;
    format.formatTag = 1;
    format.channels = found.channels;
    format.samplesPerSecond = found.rate;
    format.blockAlign = static_cast<std::uint16_t>(found.channels * found.bits / 8);
    format.averageBytesPerSecond = found.rate * format.blockAlign;
    format.bitsPerSample = found.bits;
    format.validBitsPerSample = found.bits;
    m_streamInfo.codecId = CodecFlac;
    return Ok;
}

void FlacDecoder::closeHook()
{
    m_input->codec.close();
    m_input->stream.close();
}

int FlacDecoder::playThread()
{
    int result = Ok;
    for (;;) {
        Pass const pass = nextPass();
        if (pass == Pass::PlayedOut)
            return ResultEndOfStream;
        if (pass == Pass::Stopped)
            break;
        result = playFrame();
        if (result < 0)
            break;
        result = PauseCheck();
    }
    return InterruptRequested() ? interruptedResult() : result;
}

int FlacDecoder::playFrame()
{
    FlacCodec::Outcome outcome = FlacCodec::Outcome::Failed;
    {
        DecoderLock lock(decoderLock());
        newPosition();
        outcome = m_input->codec.decode();
    }
    int end = ErrorFailed;
    switch (outcome) {
    case FlacCodec::Outcome::Frame:
        return deliver();
    case FlacCodec::Outcome::Dry:
        if (m_input->stream.waitForData())
            return Ok;
        break;
    case FlacCodec::Outcome::EndOfStream:
        end = ResultEndOfStream;
        break;
    case FlacCodec::Outcome::Failed:
        break;
    }
    return endsHere() ? end : Ok;
}

int FlacDecoder::deliver()
{
    FlacCodec::Frame const& frame = m_input->codec.frame();
    TimeSpec duration =
        Avr::Decoder::playingTime(frame.bytes, m_streamInfo.format.averageBytesPerSecond);
    return SendOnSample(frame.pcm.get(), frame.bytes, &duration) < 0 ? ErrorFailed : Ok;
}

int FlacDecoder::Seek(TimeSpec const& position)
{
    SeekScope seek(*this);
    if (!seek)
        return ErrorFailed;
    if (!reposition(position))
        return ErrorNotSupported;
    SendPosition(position);
    return Ok;
}

bool FlacDecoder::reposition(TimeSpec const& position)
{
    tWAVEFORMAT format{};
    GetWaveFormat(format);
    std::int64_t const bytes =
        Avr::Decoder::byteOffset(position, format.averageBytesPerSecond, format.blockAlign);
    std::int64_t const frame = Avr::Decoder::wholeFrames(bytes, format.blockAlign);
    DecoderLock lock(decoderLock());
    if (!m_input->stream.canSeekByte() || !m_input->codec.seek(static_cast<std::uint64_t>(frame)))
        return false;
    repositioned();
    return true;
}

int FlacDecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    if (type == DecoderPropTypeBase::BitRate) { // not known
        value.clear();
        return ErrorFailed;
    }
    FlacCodec::Properties const found = m_input->codec.properties();
    tWAVEFORMAT format{};
    format.samplesPerSecond = found.rate;
    format.channels = found.channels;
    format.bitsPerSample = found.bits;
    return Avr::Decoder::answerProperty(type, format, "FLAC", value);
}

}} // namespace kiv::appli
