#include "VWmaDecoder.h"

#include "PcmTime.h"
#include "PropertyAnswer.h"
#include "StreamSeek.h"
#include "WmaFormat.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace kiv { namespace appli {

using namespace Avr::Decoder;
using DecoderLock = boost::lock_guard<boost::recursive_mutex>;

namespace {

constexpr int SmallBuffer = 192000;
constexpr int LosslessBuffer = 3072000; ///< of a local stream
constexpr unsigned int BlockSamples = 1024;
constexpr unsigned int MostLosslessSamples = 4096; ///< of a block
constexpr unsigned int WidestLosslessFrame = 8;    ///< bytes
constexpr unsigned int TrackInfoSize = 8;          ///< as event 7 has it everywhere

bool isMms(Avr::Interface::IReadableStream& stream)
{
    std::string address;
    try {
        return stream.GetStreamProperty(Avr::Interface::IReadableStream::Address, address) >= 0 &&
               address.compare(0, 3, "mms") == 0;
    } catch (...) { // a stream that throws does not know
        return false;
    }
}

} // namespace

/// The samples that wait for a whole block, and what one more call of the codec brings.
struct VWmaDecoder::Pcm {
    alignas(8) unsigned char standard[(BlockSamples + WMA_MostSamples) * WMA_MostChannels * 2];
    alignas(8) unsigned char lossless[MostLosslessSamples * WidestLosslessFrame] = {};
};

VWmaDecoder::VWmaDecoder()
    : m_pcm(std::make_unique<Pcm>()),
      m_input(*this, m_reader, [this](unsigned char const* data, unsigned int bytes) {
          AppendDataToPDT(data, bytes);
      })
{}

VWmaDecoder::~VWmaDecoder() { Close(); }

int VWmaDecoder::openHook(StreamPtr stream)
{
    SetBaseStreamEx(stream);
    m_mode = Mode::None;
    bool const mms = isMms(*stream);
    if (mms)
        StartBuffering(SmallBuffer);
    int result = openHookStd();
    if (result >= 0) {
        if (!mms)
            StartBuffering(SmallBuffer);
        m_mode = Mode::Standard;
        std::cerr << "Select Standard Decoder" << std::endl;
        return result;
    }
    rewind();
    result = openHookLL();
    if (result >= 0) {
        if (!mms)
            StartBuffering(LosslessBuffer);
        m_mode = Mode::Lossless;
        std::cerr << "Select Lossless Decoder" << std::endl;
    }
    return result;
}

void VWmaDecoder::rewind()
{
    BufferedRead::BufferStreamPtr const stream = m_reader.stream();
    stream->SeekLock(true);
    seekBufferedByte(*this, stream.get(), 0);
    stream->SeekLock(false);
}

int VWmaDecoder::openHookStd()
{
    m_pdt.reset();
    m_scansPdt = true;
    int const result = m_standard.open(&m_input);
    if (result != 0) {
        std::printf("WMA_FILE:: Failed in WMA_init = %d\n", result);
        return ErrorFailed;
    }
    m_standard.describe(m_streamInfo);
    return Ok;
}

int VWmaDecoder::openHookLL()
{
    m_scansPdt = false;
    int const result = m_lossless.open(&m_input);
    if (result != 0) {
        std::printf("[%s] :: Failed in init, error code = %d, error < -256 => parser error\n",
                    "openHookLL", result);
        return ErrorFailed;
    }
    m_lossless.describe(m_streamInfo);
    return Ok;
}

int VWmaDecoder::playThread()
{
    switch (m_mode) {
    case Mode::Standard:
        return playThreadStd();
    case Mode::Lossless:
        return playThreadLL();
    default:
        return ErrorFailed;
    }
}

/// Whether or not the codec reads anything for what it gives next.
void VWmaDecoder::atNewPosition()
{
    DecoderLock lock(decoderLock());
    newPosition();
}

int VWmaDecoder::playThreadStd()
{
    unsigned int const frame = m_standard.channels() * 2;
    for (unsigned int pending = 0;;) {
        Pass const pass = nextPass();
        if (pass == Pass::PlayedOut)
            return ResultEndOfStream;
        if (pass == Pass::Stopped)
            return stopped(pending);
        atNewPosition();
        short samples = 0;
        int const result = m_standard.decode(samples, m_pcm->standard + frame * pending);
        if (result < 0) {
            std::fprintf(stderr, "WMA_decode:: Got %d while decoding\n", result);
            return ErrorFailed;
        }
        if (result == WmaNoMoreData) {
            noMoreData("playThreadStd");
            continue;
        }
        pending = playBlocks(pending + static_cast<unsigned int>(std::max<int>(samples, 0)));
        PauseCheck();
    }
}

/// @return what is left: at most a block, or all that a stop has overtaken
unsigned int VWmaDecoder::playBlocks(unsigned int pending)
{
    unsigned int const block = m_standard.channels() * 2 * BlockSamples;
    unsigned char* at = m_pcm->standard;
    for (; pending > BlockSamples && IsDecoding(); pending -= BlockSamples, at += block) {
        TimeSpec duration = playingTime(block, m_streamInfo.format.averageBytesPerSecond);
        SendOnSample(at, block, &duration);
    }
    std::memmove(m_pcm->standard, at, m_standard.channels() * 2 * pending);
    return pending;
}

int VWmaDecoder::stopped(unsigned int pending)
{
    if (pending != 0) {
        unsigned int const bytes = m_standard.channels() * 2 * pending;
        TimeSpec duration = playingTime(bytes, m_streamInfo.format.averageBytesPerSecond);
        SendRest(m_pcm->standard, bytes, &duration);
    }
    if (InterruptRequested())
        return interruptedResult();
    std::cout << "Decoded End" << std::endl;
    return ResultEndOfStream;
}

/// Unless a seek has come since: then there is more.
void VWmaDecoder::noMoreData(const char* name)
{
    std::fprintf(stderr, "[%s] no more flame\n", name);
    if (IsDecoding())
        m_reader.putEofMark(*this);
}

int VWmaDecoder::playThreadLL()
{
    for (;;) {
        Pass const pass = nextPass();
        if (pass == Pass::PlayedOut)
            return ResultEndOfStream;
        if (pass == Pass::Stopped && InterruptRequested())
            return interruptedResult();
        if (pass == Pass::Stopped) {
            std::cout << "Decoded End" << std::endl;
            return Ok;
        }
        atNewPosition();
        unsigned int available = 0;
        int const result = m_lossless.decode(available);
        if (result == WmaNoMoreData) {
            noMoreData("playThreadLL");
            continue;
        }
        if (WmaLosslessCodec::isDecodingError(result)) {
            std::cerr << "WMAL:: Error in decoding =" << result << std::endl;
            return ErrorFailed;
        }
        if (result < 0) {
            std::fprintf(stderr, "WMAL:: Parser error = %d\n", result);
            if (WmaLosslessCodec::isFatalError(result))
                return ErrorFailed;
            m_lossless.reset();
        }
        if (playFrame(available) < 0)
            return ErrorFailed;
        PauseCheck();
    }
}

/// @return negative when the codec failed or the player refused
int VWmaDecoder::playFrame(unsigned int available)
{
    while (available != 0) {
        unsigned int const count = std::min(available, MostLosslessSamples);
        int const got = m_lossless.getPcm(m_pcm->lossless, count);
        if (got < 0) {
            std::cerr << "WMAL error = %d, error < -256 => parser error =" << got << std::endl;
            return ErrorFailed;
        }
        PauseCheck();
        if (got == 0)
            return Ok;
        unsigned int const bytes = m_lossless.frameBytes() * count; // whatever it got
        TimeSpec duration = playingTime(bytes, m_streamInfo.format.averageBytesPerSecond);
        if (SendOnSample(m_pcm->lossless, bytes, &duration) < 0) {
            std::cerr << "On Sample Error!!\n" << std::endl;
            return ErrorFailed;
        }
        available -= static_cast<unsigned int>(got);
    }
    return Ok;
}

template <class Position>
int VWmaDecoder::seek(Position const& position)
{
    SeekScope const scope(*this);
    if (!scope)
        return ErrorFailed;
    DecoderLock lock(decoderLock());
    int const result = seekWma(position, [this](unsigned int to) { return m_standard.seek(to); });
    if (result == Ok) {
        repositioned();
        m_input.overtake();
    }
    return result;
}

int VWmaDecoder::Seek(long milliseconds) { return seek(milliseconds); }

int VWmaDecoder::Seek(TimeSpec const& position) { return seek(position); }

int VWmaDecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return answerProperty(type, *this, "wma", value);
}

int VWmaDecoder::AppendDataToPDT(unsigned char const* data, unsigned int length)
{
    if (!m_scansPdt)
        return Ok;
    m_pdt.append_data(data, length);
    if (!m_pdt.complete())
        return Ok;
    PdtTrackInfo found = pdt::track_info(m_pdt.buffer());
    m_pdt.reset();
    std::fprintf(stderr, "[%s] :: Found PDT, Artist=%s, Title=%s\n", "AppendDataToPDT",
                 found.artist.c_str(), found.title.c_str());
    SendEvent(EventTrackInfo, &found, TrackInfoSize);
    return Ok;
}

void VWmaDecoder::closeHook() { m_reader.install(nullptr); }

}} // namespace kiv::appli
