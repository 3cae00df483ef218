#include "VHEAACDecoder.h"

#include "Deadlines.h"
#include "PcmTime.h"
#include "PropertyAnswer.h"
#include "StreamSeek.h"

#include <fdk-aac/aacdecoder_lib.h>

#include <cstdarg>
#include <cstring>
#include <iostream>
#include <new>
#include <thread>

namespace kiv { namespace appli {

using namespace Avr::Decoder;

namespace {

constexpr unsigned int ChunkBytes = 8192;
constexpr int MostChannels = 2;
constexpr int HighestRate = 96000;
constexpr int DeliveredSamples = MostChannels * 4096; ///< of the longest frame
/// Room for every channel that a stream can have: too many are decoded, seen and then refused.
constexpr int DecodedSamples = 16384;
constexpr unsigned int FirstPlayed = 3; ///< of the decoded frames, counted from 1

// Keeps the decoding thread from running far ahead. Too short to be worth an interruptible sleep,
// which costs more than a block's delivery.
constexpr int PacedSamples = 1024; ///< per channel

__attribute__((format(printf, 1, 2))) int failed(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    return ErrorFailed;
}

bool isSyncError(AAC_DECODER_ERROR error) { return error >= 0x1000 && error <= 0x1003; }
bool isConcealed(AAC_DECODER_ERROR error) { return error >= 0x4000 && error <= 0x400E; }

/// From its second generation on FDK always interleaves and has no such parameter.
bool setInterleaved([[maybe_unused]] HANDLE_AACDECODER decoder)
{
#if defined(AACDECODER_LIB_VL0) && AACDECODER_LIB_VL0 >= 3
    return true;
#else
    return aacDecoder_SetParam(decoder, AAC_PCM_OUTPUT_INTERLEAVED, 1) == AAC_DEC_OK;
#endif
}

/// Samples of 16 bits become the upper half of 32.
void widen(const INT_PCM* from, std::int32_t* to, std::size_t samples)
{
    static_assert(sizeof(INT_PCM) == 2, "FDK as it is commonly built");
    for (std::size_t i = 0; i < samples; ++i)
        to[i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(from[i]) << 16);
}

} // namespace

struct VHEAACDecoder::VHEAAC_wrapParam {
    UCHAR input[ChunkBytes];
    INT_PCM decoded[DecodedSamples];
    std::int32_t delivered[DeliveredSamples];
    HANDLE_AACDECODER decoder;   ///< null when closed
    AAC_DECODER_ERROR lastError; ///< of the last frame
    CStreamInfo info;            ///< of the last frame
    unsigned int frames;         ///< decoded
    UINT bytesRead;              ///< by the last read
    UINT bytesValid;             ///< of those, not yet in FDK
    int pacing;                  ///< samples per channel that were not yet paused for

    AAC_DECODER_ERROR decode()
    {
        UCHAR* chunk = input;
        aacDecoder_Fill(decoder, &chunk, &bytesRead, &bytesValid);
        lastError = aacDecoder_DecodeFrame(decoder, decoded, DecodedSamples, 0);
        return lastError;
    }
    /// After each frame: rate and channels change when SBR or PS begin late.
    bool takeInfo()
    {
        const CStreamInfo* const current = aacDecoder_GetStreamInfo(decoder);
        if (current != nullptr)
            info = *current;
        return current != nullptr;
    }
    int checkInfo(const char* operation) const
    {
        auto const isIn = [](INT value, int most) { return value > 0 && value <= most; };
        if (isIn(info.sampleRate, HighestRate) && isIn(info.numChannels, MostChannels) &&
            isIn(info.frameSize, DeliveredSamples / info.numChannels))
            return Ok;
        return failed("[%s] unsupported setting %d / %d\n", operation, info.sampleRate,
                      info.numChannels);
    }
    void close()
    {
        if (decoder != nullptr)
            aacDecoder_Close(decoder);
        decoder = nullptr;
    }
};

VHEAACDecoder::VHEAACDecoder() : m_param(new (std::nothrow) VHEAAC_wrapParam())
{
    if (!m_param)
        failed("[%s] allocation VHEAAC_wrapParam failed\n", __func__);
}

VHEAACDecoder::~VHEAACDecoder() { Close(); }

bool VHEAACDecoder::hasResource(const char* operation) const
{
    if (!m_param)
        failed("[%s] decoder resource doesn't exist", operation);
    return m_param != nullptr;
}

int VHEAACDecoder::openHook(StreamPtr stream)
{
    if (!hasResource(__func__))
        return ErrorFailed;
    m_param->close();
    std::memset(m_param.get(), 0, sizeof *m_param);
    SetBaseStream(stream);
    unsigned char head[8];
    if (Read(head, sizeof head) == 0)
        return failed("[%s] fread failed\n", __func__);
    std::fprintf(stderr, "[%s] file top data, %.2x %.2x %.2x %.2x\n", __func__, head[0], head[1],
                 head[2], head[3]);
    if (std::memcmp(head, "ADIF", 4) == 0)
        return failed("[%s] ADIF is not suppoprted\n", __func__);
    if (std::memcmp(head + 4, "ftyp", 4) == 0)
        return failed("[%s] **** CURRENTLY **** MP4 container is not suppoprted, Do use LC-AAC "
                      "regacy decoder !!!!\n",
                      __func__);
    seekBufferedByte(*this, m_reader.stream().get(), 0);
    m_param->decoder = aacDecoder_Open(TT_MP4_ADTS, 1);
    if (m_param->decoder == nullptr)
        return failed("[%s] Unable to open aacDecoder instance\n", __func__);
    if (!setInterleaved(m_param->decoder))
        return failed("[%s] Setting parameter AAC_PCM_OUTPUT_INTERLEAVED failed\n", __func__);
    if (GetHEAACFileParameters() < 0) {
        std::cout << "GetAACFileParameters() error" << std::endl;
        return ErrorFailed;
    }
    return Ok;
}

/// Decodes the first frame for its format alone.
int VHEAACDecoder::GetHEAACFileParameters()
{
    m_param->frames = 0;
    int const bytes = Read(m_param->input, ChunkBytes);
    if (bytes == 0)
        return failed("[%s] Error in getting ADTS frame, %d\n", __func__, bytes);
    m_param->bytesRead = m_param->bytesValid = ChunkBytes;
    if (AAC_DECODER_ERROR const error = m_param->decode())
        return failed("[%s] Decode 1st or 2nd frame error = %d\n", __func__, int(error));
    m_param->frames = 1;
    if (!m_param->takeInfo())
        return failed("[%s] aacDecoder_GetStreamInfo() failed\n", __func__);
    CStreamInfo const& info = m_param->info;
    std::fprintf(stderr, "[%s] sampleRate  = %d\n", __func__, info.sampleRate);
    std::fprintf(stderr, "[%s] numChannels = %d\n", __func__, info.numChannels);
    std::fprintf(stderr, "[%s] samples     = %d\n", __func__, info.aacSamplesPerFrame);
    if (m_param->checkInfo(__func__) < 0)
        return ErrorFailed;
    fillStreamInfo();
    std::fprintf(stderr, "[%s] init_as_pcm finished\n", __func__);
    return Ok;
}

void VHEAACDecoder::fillStreamInfo()
{
    tWAVEFORMAT format{};
    format.formatTag = 1;
    format.channels = 2;
    format.samplesPerSecond = static_cast<std::uint32_t>(m_param->info.sampleRate);
    format.averageBytesPerSecond = format.samplesPerSecond * 8;
    format.blockAlign = 8;
    format.bitsPerSample = 32;
    format.validBitsPerSample = 32;
    m_streamInfo.format = format;
    m_streamInfo.codecId = CodecHeAac;
    m_streamInfo.decoderWord = 0; // no duration
}

int VHEAACDecoder::playThread()
{
    if (!hasResource(__func__))
        return ErrorFailed;
    while (nextPass() == Pass::Decode) {
        readWhenDry();
        AAC_DECODER_ERROR const error = m_param->decode();
        if (error == AAC_DEC_OK) {
            if (playFrame() < 0)
                return ErrorFailed;
        } else if (m_param->bytesRead == 0) {
            std::fprintf(stderr, "[%s] ADTS/MP4 EOF reached = 0x%x\n", __func__, unsigned(error));
            break;
        } else if (isConcealed(error)) {
            std::fprintf(stderr, "[%s] Concealed frame\n", __func__);
        } else if (isSyncError(error)) {
            std::fprintf(stderr,
                         "[%s] Try finding sync again, if got out of sync or still input data "
                         "available\n",
                         __func__);
        } else {
            return failed("[%s] Unexpected error 0x%x\n", __func__, unsigned(error));
        }
        PauseCheck();
    }
    return InterruptRequested() ? interruptedResult() : ResultEndOfStream;
}

/// FDK takes in several chunks ahead: the end of the input must not be met, and marked, before FDK
/// has given every frame.
void VHEAACDecoder::readWhenDry()
{
    if (m_param->bytesValid != 0 || m_param->lastError != AAC_DEC_NOT_ENOUGH_BITS)
        return;
    unsigned int const bytes = ReadChunk(m_param->input, ChunkBytes);
    m_param->bytesRead = m_param->bytesValid = bytes;
    if (bytes < ChunkBytes)
        std::fprintf(stderr, "[%s] ADTS read empty.. %d", "playThread", int(bytes));
}

/// @return negative when the run must end
int VHEAACDecoder::playFrame()
{
    if (!m_param->takeInfo() || m_param->checkInfo("playThread") < 0)
        return ErrorFailed;
    if (++m_param->frames >= FirstPlayed && VHEAAC_writePcm() != 0)
        return failed("[%s] Write PCM error\n", "playThread");
    return Ok;
}

int VHEAACDecoder::VHEAAC_writePcm()
{
    auto const samples = static_cast<unsigned int>(m_param->info.numChannels) *
                         static_cast<unsigned int>(m_param->info.frameSize);
    widen(m_param->decoded, m_param->delivered, samples);
    // As for samples of 16 bits: half of the time that the block plays.
    TimeSpec duration = playingTime(samples * 2, m_streamInfo.format.averageBytesPerSecond);
    int const result = SendOnSample(m_param->delivered, samples * 4, &duration);
    m_param->pacing += m_param->info.frameSize;
    for (; m_param->pacing >= PacedSamples; m_param->pacing -= PacedSamples)
        std::this_thread::sleep_for(deadlines().pacingPause);
    return result;
}

int VHEAACDecoder::Seek(TimeSpec const&)
{
    hasResource(__func__);
    return ErrorFailed;
}

int VHEAACDecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return answerProperty(type, *this, "aac", value);
}

void VHEAACDecoder::closeHook()
{
    if (hasResource(__func__))
        m_param->close();
    m_reader.install(nullptr);
}

}} // namespace kiv::appli
