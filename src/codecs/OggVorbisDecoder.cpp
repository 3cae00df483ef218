#include "OggVorbisDecoder.h"

#include "LibraryStream.h"
#include "PcmFormat.h"
#include "PcmTime.h"

#include <boost/thread/lock_guard.hpp>
#include <tremor/ivorbisfile.h>

#include <algorithm>
#include <iostream>
#include <vector>

namespace kiv { namespace appli {

using StateLock = boost::lock_guard<boost::mutex>;
using Avr::Decoder::FramesPerBlock;

namespace {

LibraryStream::LastFill lastFill{LibraryStream::NothingReported};

/// Where the front right channel stands, by the order that Vorbis has for so many channels.
unsigned int frontRight(unsigned int channels)
{
    constexpr unsigned int Places[] = {0, 0, 1, 2, 1, 2, 2, 2, 2};
    return channels < std::size(Places) ? Places[channels] : 1;
}

short mean(short left, short right) { return static_cast<short>((int(left) + int(right)) / 2); }

/// Brings frames of any channel count to one or two.
void mapChannels(const short* in, unsigned int inChannels, std::size_t frames, short* out,
                 unsigned int outChannels)
{
    if (inChannels == outChannels) {
        std::copy_n(in, frames * outChannels, out);
        return;
    }
    unsigned int const right = frontRight(inChannels);
    for (const short* const end = in + frames * inChannels; in != end; in += inChannels) {
        if (outChannels == 1) {
            *out++ = mean(in[0], in[right]);
        } else {
            *out++ = in[0];
            *out++ = in[right];
        }
    }
}

} // namespace

/// The stream, and Tremor over it. Decoding thread only, but for the stream's capabilities.
class OggVorbisDecoder::Input {
public:
    explicit Input(DecoderImple& engine) : stream(engine, lastFill) {}
    ~Input() { close(); }
    Input(Input const&) = delete;
    Input& operator=(Input const&) = delete;

    /// @return negative when this is no Ogg Vorbis
    int open(StreamPtr const& source);
    void close();
    vorbis_info const* info() { return m_file ? ov_info(m_file.get(), -1) : nullptr; }
    ogg_int64_t milliseconds() { return ov_time_total(m_file.get(), -1); }

    /// Decodes into the block until it is full; `filled` frames are there already and are counted
    /// on. @return positive; 0 at the end; the library's error
    long fill(short* block, unsigned int channels, unsigned int& filled);

    LibraryStream stream;

private:
    static std::size_t read(void* buf, std::size_t size, std::size_t count, void* source);
    static int seek(void*, ogg_int64_t, int) { return -1; }
    static int close(void* source);
    long decode();

    std::unique_ptr<OggVorbis_File> m_file;
    /// Decoded frames of all channels. Larger than a frame of any channel count, or the library
    /// would seem to be at its end.
    std::vector<short> m_decoded = std::vector<short>(8192);
    unsigned int m_channels = 0;
    unsigned int m_next = 0;   ///< the first frame that was not taken yet
    unsigned int m_frames = 0; ///< frames decoded
};

int OggVorbisDecoder::Input::open(StreamPtr const& source)
{
    m_next = m_frames = 0;
    stream.open(source);
    m_file = std::make_unique<OggVorbis_File>(); // zeros: closing it is safe from now on
    ov_callbacks const callbacks{read, seek, close, nullptr};
    int const result = ov_open_callbacks(&stream, m_file.get(), nullptr, 0, callbacks);
    stream.rethrow();
    // Its numbers have 32 bits. The library refuses a negative rate where its long has no more.
    bool const isNegative = result >= 0 && static_cast<std::int32_t>(info()->rate) <= 0;
    return isNegative ? OV_EBADHEADER : result;
}

void OggVorbisDecoder::Input::close()
{
    if (m_file)
        ov_clear(m_file.get());
    m_file.reset();
    stream.close();
}

std::size_t OggVorbisDecoder::Input::read(void* buf, std::size_t size, std::size_t count,
                                          void* source)
{
    unsigned int got = 0;
    static_cast<LibraryStream*>(source)->read(buf, static_cast<unsigned int>(size * count), got);
    return got;
}

int OggVorbisDecoder::Input::close(void* source)
{
    static_cast<LibraryStream*>(source)->closeStream();
    return 0;
}

long OggVorbisDecoder::Input::decode()
{
    int section = 0;
    int const room = static_cast<int>(m_decoded.size() * sizeof(short));
    long const bytes =
        ov_read(m_file.get(), reinterpret_cast<char*>(m_decoded.data()), room, &section);
    stream.rethrow();
    if (bytes <= 0)
        return bytes;
    m_channels = static_cast<unsigned int>(info()->channels);
    m_frames = static_cast<unsigned int>(bytes) / (m_channels * 2);
    m_next = 0;
    return bytes;
}

long OggVorbisDecoder::Input::fill(short* block, unsigned int channels, unsigned int& filled)
{
    while (filled < FramesPerBlock) {
        if (m_next == m_frames) {
            long const result = decode();
            if (result <= 0)
                return result;
        }
        unsigned int const frames = std::min(unsigned(FramesPerBlock) - filled, m_frames - m_next);
        mapChannels(m_decoded.data() + std::size_t(m_next) * m_channels, m_channels, frames,
                    block + std::size_t(filled) * channels, channels);
        m_next += frames;
        filled += frames;
    }
    return 1;
}

OggVorbisDecoder::OggVorbisDecoder() : m_input(std::make_unique<Input>(*this)) {}

OggVorbisDecoder::~OggVorbisDecoder() { Close(); }

int OggVorbisDecoder::openHook(StreamPtr stream)
{
    if (m_input->open(stream) < 0) {
        std::cerr << "ERROR: ov_open()" << std::endl;
        return ErrorFailed;
    }
    vorbis_info const* const info = m_input->info();
    if (info == nullptr) {
        std::cerr << "ERROR: ov_info()" << std::endl;
        return ErrorFailed;
    }
    tWAVEFORMAT& format = m_streamInfo.format;
    format.formatTag = 1;
    format.channels = static_cast<std::uint16_t>(std::min(info->channels, 2));
    format.samplesPerSecond = static_cast<std::uint32_t>(info->rate);
    format.blockAlign = static_cast<std::uint16_t>(format.channels * 2);
    format.averageBytesPerSecond = format.samplesPerSecond * format.blockAlign;
    format.bitsPerSample = 16;
    format.validBitsPerSample = 16;
    m_streamInfo.codecId = CodecOggVorbis;
    m_streamInfo.bitRate = static_cast<std::uint32_t>(info->bitrate_nominal);
    // The library knows no duration of what it cannot position: its error stands here.
    m_streamInfo.decoderWord = static_cast<std::uint32_t>(m_input->milliseconds());
    StateLock lock(stateLock());
    m_description = {true, static_cast<std::int32_t>(info->rate),
                     static_cast<std::int32_t>(info->bitrate_nominal), format.channels};
    return Ok;
}

void OggVorbisDecoder::closeHook()
{
    m_input->close();
    StateLock lock(stateLock());
    m_description = {};
}

int OggVorbisDecoder::playThread()
{
    std::vector<short> block(std::size_t(FramesPerBlock) * m_streamInfo.format.channels);
    int result = Ok;
    for (;;) {
        Pass const pass = nextPass();
        if (pass == Pass::PlayedOut)
            return ResultEndOfStream;
        if (pass == Pass::Stopped)
            break;
        result = playBlock(block.data());
        if (result < 0)
            break;
        result = PauseCheck();
    }
    return InterruptRequested() ? interruptedResult() : result;
}

int OggVorbisDecoder::playBlock(short* block)
{
    unsigned int filled = 0;
    long read = 0;
    // No lock: nobody else touches the library's state.
    while ((read = m_input->fill(block, m_streamInfo.format.channels, filled)) == OV_HOLE)
        std::cerr << "[OggVorbisDecoder::PlayThread] OV_HOLE error caused and continue. "
                  << std::endl;
    if (filled != 0 && deliver(block, filled) < 0)
        return ErrorFailed;
    if (read > 0 || !IsDecoding())
        return Ok;
    std::cerr << "[OggVorbisDecoder::PlayThread] error caused. readSize = " << read << std::endl;
    PutEofMarkToSoundDevice();
    return Ok;
}

int OggVorbisDecoder::deliver(const short* block, unsigned int frames)
{
    unsigned int const bytes = frames * m_streamInfo.format.blockAlign;
    TimeSpec duration = Avr::Decoder::playingTime(bytes, m_streamInfo.format.averageBytesPerSecond);
    return SendOnSample(block, bytes, &duration);
}

int OggVorbisDecoder::Seek(TimeSpec const&)
{
    SeekScope seek(*this);
    if (!seek)
        return ErrorFailed;
    if (!m_input->stream.canSeekByte())
        std::cout << "[OggVorbisDecoder::Seek] stream couldn't support Byte Seek" << std::endl;
    else
        std::cerr << "this stream is not seekable" << std::endl;
    return ErrorFailed;
}

int OggVorbisDecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    Description found{};
    {
        StateLock lock(stateLock());
        found = m_description;
    }
    value.clear();
    if (!found.known)
        return ErrorFailed;
    switch (type) {
    case DecoderPropTypeBase::SampleRate: // one field off, like the next; meant
    case DecoderPropTypeBase::BitRate:
        value = std::to_string(found.nominalBitRate);
        return Ok;
    case DecoderPropTypeBase::BitsPerSample:
        value = std::to_string(found.rate);
        return Ok;
    case DecoderPropTypeBase::Channels:
        value = std::to_string(found.channels);
        return Ok;
    case DecoderPropTypeBase::CodecName:
        value = "OggVorbis";
        return Ok;
    default:
        return ErrorFailed;
    }
}

}} // namespace kiv::appli
