#include "VAACDecoder.h"

#include "AacStreamType.h"
#include "PcmTime.h"
#include "PropertyAnswer.h"
#include "StreamSeek.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <iostream>
#include <limits>
#include <string>

namespace kiv { namespace appli {

using namespace Avr::Decoder;
using DecoderLock = boost::lock_guard<boost::recursive_mutex>;

namespace {

const std::string Name = "[VAACDecoder::GetAACFileParameters] ";

constexpr unsigned int HeadBytes = 8;
constexpr unsigned int FirstPlayed = 3; ///< of the frames with samples, counted from 1
constexpr int MostInitErrors = 5;

/// In one piece: other threads write their lines too.
void writeLine(std::ostream& out, std::string const& line) { out << line + '\n' << std::flush; }

int failed(const char* what)
{
    writeLine(std::cout, what);
    return ErrorFailed;
}

/// Planes of 16 bits become the upper halves of interleaved 32; a mono plane goes to both sides.
void widen(const std::int16_t* left, const std::int16_t* right, std::int32_t* block)
{
    for (unsigned int i = 0; i < VAAC_FrameSamples; ++i) {
        block[2 * i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(left[i]) << 16);
        block[2 * i + 1] = static_cast<std::int32_t>(static_cast<std::uint32_t>(right[i]) << 16);
    }
}

} // namespace

struct VAACDecoder::Areas {
    alignas(8) unsigned char instance[VAAC_InstanceBytes];
    alignas(8) unsigned char work[VAAC_WorkBytes];
    alignas(16) std::int16_t planes[VAAC_Planes * VAAC_FrameSamples];
    alignas(16) std::int32_t block[AacUpSampler::BlockSamples];
    VAAC_Config config;
    VAAC_StreamInfo info;
};

VAACDecoder::VAACDecoder()
    : m_areas(std::make_unique<Areas>()),
      m_source({[this](void* buf, unsigned int bytes) { return readInput(buf, bytes); },
                [this](long offset, int origin) { return seekInput(offset, origin); }})
{
    m_reader.abandonWhen([this] { return isOvertaken(); });
}

VAACDecoder::~VAACDecoder() { Close(); }

/// A seek that comes meanwhile ends the read, as what it brings is of two places.
unsigned int VAACDecoder::readInput(void* buf, unsigned int bytes)
{
    if (isOvertaken())
        return 0;
    int const got = Read(buf, bytes);
    return isOvertaken() ? 0 : static_cast<unsigned int>(got);
}

int VAACDecoder::seekInput(long offset, int origin)
{
    if (!m_reader.stream())
        return -1;
    if (origin == SEEK_END) {
        std::fprintf(stderr, "[StreamSeek] seek end!!\n");
        return 0;
    }
    return seekBufferedByte(*this, m_reader.stream().get(), offset) == Ok ? 0 : -1;
}

int VAACDecoder::openHook(StreamPtr stream)
{
    m_frames = 0;
    m_seeksSeen = m_seeks;
    SetBaseStream(stream);
    m_areas->config = {VAAC_getRandState, 0, 0};
    unsigned char head[HeadBytes];
    if (Read(head, HeadBytes) == 0) {
        std::fprintf(stderr, "[VAACDecoder::openHook] fread failed\n");
        return ErrorFailed;
    }
    m_fileType = VAAC_identifyType(head);
    seekInput(0, SEEK_SET);
    if (m_source.open(static_cast<VAAC_FileType>(m_fileType)) != 0)
        return failed("ERROR OF OPEN AAC");
    m_areas->config.samplingRate = m_source.mp4Info().samplingRate;
    m_areas->config.channels = m_source.mp4Info().channels;
    if (!initCodec())
        return failed("VAAC_init() error");
    if (int const result = GetAACFileParameters(); result < 0) {
        failed("GetAACFileParameters() error");
        return result;
    }
    return Ok;
}

bool VAACDecoder::initCodec()
{
    return VAAC_init(&m_areas->config, m_fileType, m_areas->instance) == 0;
}

int VAACDecoder::GetAACFileParameters()
{
    if (int const result = probe(); result < 0)
        return result;
    VAAC_StreamInfo const& info = m_areas->info;
    writeLine(std::cerr, Name + "samplingFreq=" + std::to_string(info.samplingRate));
    writeLine(std::cerr, Name + "channelsCnt=" + std::to_string(info.channels));
    writeLine(std::cerr, Name + "samples=" + std::to_string(info.samples));
    if (info.channels > 2) {
        std::fprintf(stderr, "unsupported channel number\n");
        return ErrorFailed;
    }
    describe(m_upSampler.begin(info.samplingRate));
    if (m_source.isMp4())
        describeMp4();
    writeLine(std::cerr, Name + "ok");
    return Ok;
}

/// Decodes until a frame gives samples.
int VAACDecoder::probe()
{
    while (IsDecoding()) {
        AacFrameSource::Outcome const outcome = m_source.fetch(m_areas->instance);
        if (outcome == AacFrameSource::Outcome::Failed) {
            writeLine(std::cerr,
                      Name + "Error in  getting  MP4 frame " + std::to_string(m_source.error()));
            return m_source.error();
        }
        if (outcome == AacFrameSource::Outcome::Ended)
            return ErrorFailed;
        int const error = VAAC_decode(m_areas->instance, m_areas->planes, m_areas->work);
        if (error == VAAC_FatalError || (error != 0 && m_fileType == VAAC_Adif))
            return ErrorFailed;
        if (error != 0) {
            if (initCodec())
                continue;
            writeLine(std::cerr, Name + "ERROR of VAAC_init");
            return ErrorFailed;
        }
        VAAC_getInfo(m_areas->instance, &m_areas->info);
        if (m_areas->info.samples != 0) {
            m_frames = 1;
            return Ok;
        }
    }
    return ErrorFailed;
}

void VAACDecoder::describe(std::uint32_t rate)
{
    tWAVEFORMAT& format = m_streamInfo.format;
    format.formatTag = 1;
    format.channels = 2;
    format.samplesPerSecond = rate;
    format.averageBytesPerSecond = rate * 8;
    format.blockAlign = 8;
    format.bitsPerSample = 32;
    format.validBitsPerSample = 32;
    std::fprintf(stderr, "init_as_pcm finished\n");
    m_streamInfo.codecId = CodecAac;
}

void VAACDecoder::describeMp4()
{
    VMP4_Info const& info = m_source.mp4Info();
    std::fprintf(stderr, "m_fileType=%d\n", m_fileType);
    std::fprintf(stderr, "timescale=%d\n", static_cast<int>(info.timescale));
    std::uint64_t const seconds =
        info.timescale != 0 ? info.duration / info.timescale : info.duration & 0xFFFFFFFFu;
    auto const most = std::numeric_limits<std::uint32_t>::max();
    m_streamInfo.decoderWord =
        seconds > most / 1000 ? most : static_cast<std::uint32_t>(seconds) * 1000;
    m_streamInfo.bitRate = info.bitRate;
    std::fprintf(stderr, "Bitrate=%d\n", static_cast<int>(info.bitRate));
}

int VAACDecoder::playThread()
{
    if (m_fileType == -1)
        return ErrorFailed;
    m_initErrors = 0;
    int const result = playFrames();
    if (result != Ok)
        return result;
    return InterruptRequested() ? interruptedResult() : ResultEndOfStream;
}

/// @return 0 when the run is to end, or the rest of an ADIF stream cannot be decoded
int VAACDecoder::playFrames()
{
    for (;;) {
        Pass const pass = nextPass();
        if (pass == Pass::PlayedOut)
            return ResultEndOfStream;
        if (pass == Pass::Stopped)
            return Ok;
        {
            DecoderLock lock(decoderLock());
            newPosition();
        }
        m_seeksSeen = m_seeks;
        switch (m_source.fetch(m_areas->instance)) {
        case AacFrameSource::Outcome::Failed:
            std::printf("Error in  getting  MP4 frame %d\n", m_source.error());
            return ErrorFailed;
        case AacFrameSource::Outcome::Ended:
            if (IsDecoding() && !isOvertaken()) // else a seek has ended the read
                m_reader.putEofMark(*this);
            continue;
        case AacFrameSource::Outcome::Ready:
            break;
        }
        int const error = VAAC_decode(m_areas->instance, m_areas->planes, m_areas->work);
        if (error != 0) {
            writeLine(std::cout, "ERROR of VAAC_decode : " + std::to_string(error));
            if (m_fileType == VAAC_Adif)
                return Ok;
            if (!restartCodec())
                return ErrorFailed;
        } else if (playFrame() < 0) {
            return ErrorFailed;
        }
        PauseCheck();
    }
}

/// @return false after too many failures
bool VAACDecoder::restartCodec()
{
    if (initCodec())
        return true;
    writeLine(std::cout, "ERROR of VAAC_init : " + std::to_string(++m_initErrors));
    return m_initErrors <= MostInitErrors;
}

int VAACDecoder::playFrame()
{
    m_initErrors = 0;
    VAAC_getInfo(m_areas->instance, &m_areas->info);
    if (m_areas->info.samples == 0 || ++m_frames < FirstPlayed)
        return Ok;
    int const result = VAAC_writePcm();
    if (result < 0 && IsDecoding()) // else it is a Close
        writeLine(std::cout, "ERROR of VAAC_writePcm : " + std::to_string(result));
    return result;
}

int VAACDecoder::VAAC_writePcm()
{
    const std::int16_t* const left = m_areas->planes;
    const std::int16_t* const right =
        m_areas->info.channels == 1 ? left : m_areas->planes + VAAC_FrameSamples;
    widen(left, right, m_areas->block);
    m_upSampler.follow(m_areas->info.samplingRate);
    AacUpSampler::Block const pcm = m_upSampler.convert(m_areas->block);
    TimeSpec duration = playingTime(pcm.bytes, m_streamInfo.format.averageBytesPerSecond);
    return SendOnSample(pcm.samples, pcm.bytes, &duration);
}

int VAACDecoder::Seek(TimeSpec const& position)
{
    SeekScope seek(*this);
    if (!seek || !m_source.isMp4())
        return ErrorFailed;
    tWAVEFORMAT format{};
    GetWaveFormat(format);
    std::uint64_t const seconds = position.seconds + position.nanoseconds / 1000000000;
    std::uint64_t const sample = seconds * format.samplesPerSecond / VAAC_FrameSamples;
    std::uint64_t const most = std::numeric_limits<std::int32_t>::max(); // far from any wrap
    {
        DecoderLock lock(decoderLock());
        ++m_seeks;
        m_source.moveTo(static_cast<std::uint32_t>(std::min(sample, most)));
        repositioned();
    }
    SendPosition(position);
    return Ok;
}

int VAACDecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return answerProperty(type, *this, "aac", value);
}

void VAACDecoder::closeHook()
{
    m_source.close();
    if (m_fileType == VAAC_Mp4)
        m_fileType = -1;
    m_upSampler.reset();
    m_reader.install(nullptr);
}

}} // namespace kiv::appli
