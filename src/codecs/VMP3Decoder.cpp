#include "VMP3Decoder.h"

#include "PcmTime.h"
#include "PropertyAnswer.h"
#include "StreamSeek.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <limits>

namespace kiv { namespace appli {

using namespace Avr::Decoder;
using DecoderLock = boost::lock_guard<boost::recursive_mutex>;

namespace {

constexpr unsigned int BufferBytes = 256000;
constexpr int MostErrors = 5; ///< in a row

} // namespace

struct VMP3Decoder::Areas {
    std::unique_ptr<void, void (*)(void*)> data{nullptr, std::free}; ///< null while closed
    alignas(8) unsigned char instance[VMP3_InstanceBytes];
    alignas(8) unsigned char work[VMP3_WorkBytes];
    alignas(8) unsigned char pcm[VMP3_PcmBytes];
    alignas(8) unsigned char input[VMP3_InputBytes];
    VMP3_InputDescriptor descriptor;
    VMP3_StreamInfo info;
    int samples; ///< per channel, decoded and not yet played
    int needFetch;
};

VMP3Decoder::VMP3Decoder() : m_areas(std::make_unique<Areas>()) {}

VMP3Decoder::~VMP3Decoder() { Close(); }

int VMP3Decoder::openHook(StreamPtr stream)
{
    std::fprintf(stderr, "[VMP3Decoder::openHook] called\n");
    m_areas->samples = 0;
    m_readCount = 0;
    m_seeked = false;
    m_headLeft = 0;
    if (m_areas->data)
        return ErrorFailed;
    SetBaseStreamEx(stream);
    SetReadLimit(false);
    unsigned int tagLength = 0;
    int const skipped = skipID3V2Tag(tagLength);
    if (skipped < 0)
        return skipped;
    StartBuffering(BufferBytes);
    SetReadLimit(true);
    if (openCodec() < 0 || probe() < 0)
        return ErrorFailed;
    describe(*stream, tagLength);
    SetReadLimit(false);
    std::fprintf(stderr, "[VMP3Decoder::openHook] finished\n");
    return Ok;
}

int VMP3Decoder::openCodec()
{
    m_areas->data.reset(std::malloc(VMP3_getDataObjSize()));
    if (!m_areas->data) {
        std::fprintf(stderr, "VMP3_sfile:: Failed in allocating memory for Data object\n");
        return ErrorFailed;
    }
    m_areas->descriptor = {m_areas->input, VMP3_InputBytes, this, readForCodec};
    VMP3_init(m_areas->instance, &m_areas->descriptor, m_areas->data.get());
    return Ok;
}

/// Decodes until there are samples; they are played later.
int VMP3Decoder::probe()
{
    void* const data = m_areas->data.get();
    int decoded = 0;
    for (int attempt = 0; attempt < MostErrors; ++attempt) {
        m_areas->needFetch = 1;
        int const fetched = VMP3_fetchFrame(data);
        m_interruption.rethrow();
        if (fetched == 1)
            std::fprintf(stderr, "[%s] VMP3_sfile:: do fetch %d\n", "openHook", fetched);
        else if (fetched != 0)
            std::fprintf(stderr, "[%s] VMP3_sfile:: Got %d while fetching\n", "openHook", fetched);
        m_areas->samples = 0;
        decoded = VMP3_decode(m_areas->work, m_areas->instance, m_areas->pcm, &m_areas->samples,
                              &m_areas->needFetch, data);
        if (decoded == 0)
            break;
        std::fprintf(stderr, "[%s] VMP3_sfile:: Found %d error while decoding\n", "openHook",
                     decoded);
    }
    if (m_areas->samples <= 0)
        std::fprintf(stderr, "[%s] VMP3_sfile:: couldn't decode, %d\n", "openHook", decoded);
    if (IsOverLimit())
        std::fprintf(stderr, "VMP3_sfile:: over limit\n");
    return m_areas->samples <= 0 || IsOverLimit() ? ErrorFailed : Ok;
}

void VMP3Decoder::describe(Stream& stream, unsigned int tagLength)
{
    VMP3_StreamInfo& info = m_areas->info;
    VMP3_getInfo(&info, m_areas->data.get());
    tWAVEFORMAT& format = m_streamInfo.format;
    format.formatTag = 1;
    format.channels = info.channels;
    format.samplesPerSecond = info.samplingRate;
    format.blockAlign = static_cast<std::uint16_t>(info.channels * 4);
    format.averageBytesPerSecond = info.samplingRate * format.blockAlign;
    format.bitsPerSample = 32;
    format.validBitsPerSample = 16;
    m_streamInfo.codecId = CodecMp3;
    m_streamInfo.bitRate = m_bitRate = info.bitRate;
    long long const length = contentLength(stream);
    if (info.bitRate <= 8 || length <= 0)
        return;
    m_streamInfo.decoderWord = durationMilliseconds(length - tagLength, 1, info.bitRate / 8);
    std::fprintf(stderr, "[VMP3Decoder::openHook] duration = %u\n", m_streamInfo.decoderWord);
}

int VMP3Decoder::playThread()
{
    std::fprintf(stderr, "[VMP3Decoder::playThread] called\n");
    if (!m_areas->data)
        return ErrorFailed;
    if (m_areas->samples > 0)
        deliver(); // a refusal counts from the next block on
    m_fetchErrors = m_decodeErrors = 0;
    int const result = playFrames();
    if (result != Ok)
        return result;
    if (InterruptRequested())
        return interruptedResult();
    std::fprintf(stderr, "\nSuccess in Decoding..........\n");
    return ResultEndOfStream;
}

/// @return 0 when the run is to end, or a block was refused
int VMP3Decoder::playFrames()
{
    for (;;) {
        Pass const pass = nextPass();
        if (pass == Pass::PlayedOut)
            return ResultEndOfStream;
        if (pass == Pass::Stopped)
            return Ok;
        if (!fetch() || !decode())
            return ErrorFailed;
        if (m_areas->samples > 0) {
            if (deliver() < 0) {
                if (!IsDecoding()) // a Close, no refusal
                    return Ok;
                std::cerr << "On Sample Error!!\n" << std::endl;
                return Ok;
            }
            m_fetchErrors = m_decodeErrors = 0;
        }
        PauseCheck();
    }
}

/// @return false after too many failures
bool VMP3Decoder::fetch()
{
    if (m_areas->needFetch == 0)
        return true;
    while (m_seeked.exchange(false))
        lookAnew();
    SetReadLimit(true);
    int const result = VMP3_fetchFrame(m_areas->data.get());
    m_interruption.rethrow();
    if (result != 0 && result != 1 && !m_seeked) {
        if (IsOverLimit()) {
            std::fprintf(stderr, "VMP3_sfile:: over limit\n");
            return false;
        }
        std::fprintf(stderr, "VMP3_sfile:: Got %d while fetching\n", result);
        if (++m_fetchErrors > MostErrors)
            return false;
    }
    SetReadLimit(false);
    return true;
}

/// After a seek: a read that fails makes the codec look for a frame, and leave what it keeps of the
/// frames and tags before.
void VMP3Decoder::lookAnew()
{
    m_readsFail = true;
    VMP3_fetchFrame(m_areas->data.get());
    m_readsFail = false;
}

/// @return false after too many failures
bool VMP3Decoder::decode()
{
    m_areas->samples = 0;
    if (m_areas->needFetch != 0 && m_seeked)
        return true; // what was fetched is of before the seek, or cut by it
    int const error = VMP3_decode(m_areas->work, m_areas->instance, m_areas->pcm, &m_areas->samples,
                                  &m_areas->needFetch, m_areas->data.get());
    if (error == 0)
        return true;
    std::fprintf(stderr, "VMP3_sfile:: Found %d error while decoding and try to fetch\n", error);
    m_areas->needFetch = 1;
    m_areas->samples = 0;
    return ++m_decodeErrors <= MostErrors;
}

int VMP3Decoder::deliver()
{
    unsigned int const bytes =
        static_cast<unsigned int>(m_areas->samples) * m_streamInfo.format.blockAlign;
    TimeSpec duration = playingTime(bytes, m_streamInfo.format.averageBytesPerSecond);
    return SendOnSample(m_areas->pcm, bytes, &duration);
}

int VMP3Decoder::Seek(long position)
{
    if (position < 0)
        return ErrorFailed;
    auto const milliseconds = static_cast<unsigned long>(position);
    std::uint64_t const seconds = milliseconds / 1000;
    auto const most = std::numeric_limits<std::uint32_t>::max();
    TimeSpec const time{seconds > most ? most : static_cast<std::uint32_t>(seconds),
                        static_cast<std::uint32_t>(milliseconds % 1000 * 1000000)};
    return Seek(time);
}

int VMP3Decoder::Seek(TimeSpec const& position)
{
    waitForOpen();
    SeekScope seek(*this);
    if (!seek)
        return ErrorFailed;
    long long const offset = bytePosition(position, m_bitRate * 0.125);
    std::fprintf(stderr, "[VMP3Decoder::%s] offset = %lld\n", "Seek", offset);
    {
        DecoderLock lock(decoderLock());
        if (seekBufferedByte(*this, m_reader.stream().get(), offset) == Ok)
            m_seeked = true;
    }
    SendPosition(position);
    return Ok;
}

int VMP3Decoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return answerProperty(type, *this, "mp3", value);
}

void VMP3Decoder::closeHook()
{
    m_areas->data.reset();
    m_areas->samples = 0;
    m_reader.install(nullptr);
}

}} // namespace kiv::appli
