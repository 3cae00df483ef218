#include "WmaEngine.h"

#include <algorithm>

namespace avr { namespace host {

static_assert(ASF_PaddingBytes >= FrameDecoder::PaddingBytes, "the decoder reads it");

int WmaEngine::open()
{
    int const result = m_input.parseAsfHeader(0, 0, m_input.scratch, &m_input.common, &m_stream);
    if (result == 0) // the scratch may be used again
        m_extra.assign(m_stream.extraData, m_stream.extraData + m_stream.extraBytes);
    m_stream.extraData = m_extra.data();
    return result;
}

bool WmaEngine::begin(Codec codec)
{
    constexpr std::uint32_t MostSamplingRate = 384000;
    bool const canBe = m_stream.samplingRate != 0 && m_stream.samplingRate <= MostSamplingRate &&
                       m_stream.channels != 0 && m_stream.channels <= WMA_MostChannels;
    CodecModule const* const module = canBe ? codecModule() : nullptr;
    if (!module)
        return false;
    CodecConfig config;
    config.extra = m_extra;
    config.samplingRate = m_stream.samplingRate;
    config.channels = m_stream.channels;
    config.bitRate = std::min(m_stream.bytesPerSecond, UINT32_MAX / 8) * 8;
    config.blockAlign = m_stream.blockAlign;
    m_decoder = module->makeDecoder(codec, config);
    return m_decoder != nullptr;
}

int WmaEngine::decode()
{
    fulfilWishes();
    if (samples() != 0)
        return 0;
    drop();
    int result = m_mayHaveMore ? m_decoder->decodeMore() : 0;
    if (result == 0 && m_ended)
        return ASF_NoMoreData;
    if (result == 0)
        result = decodeBlock();
    m_mayHaveMore = result > 0;
    if (result > 0 && m_decoder->channels() != m_stream.channels)
        return Failed;
    m_samples = static_cast<unsigned int>(std::max(result, 0));
    return std::min(result, 0);
}

void WmaEngine::fulfilWishes()
{
    std::uint32_t const target = m_target.exchange(NoTarget);
    bool const moved = target != NoTarget && m_input.asfSeek(m_input.scratch, target, nullptr) == 0;
    bool const reset = m_resetWanted.exchange(false);
    bool const goesOn = target != NoTarget && m_ended; // what ended it may have been the wish
    if (!moved && !reset && !goesOn)
        return;
    m_decoder->reset();
    drop();
    if (moved || goesOn)
        m_ended = false;
}

/// @return as FrameDecoder::decode
int WmaEngine::decodeBlock()
{
    for (;;) {
        unsigned short* data = nullptr;
        short bytes = 0, piece = 0;
        if (m_input.fileGetInput(m_input.scratch, &data, &bytes, nullptr, &piece) != 0) {
            m_ended = true;
            return m_decoder->finish();
        }
        if (bytes <= 0)
            return 0;
        auto const* const from = reinterpret_cast<const std::uint8_t*>(data);
        auto const size = static_cast<std::size_t>(bytes);
        if ((piece & ASF_BlockBegins) != 0)
            m_block.clear();
        if (m_block.empty() && (piece & ASF_BlockEnds) != 0) // whole, as nearly all are
            return m_decoder->decode(from, size);
        m_block.insert(m_block.end(), from, from + size);
        if ((piece & ASF_BlockEnds) != 0)
            return decodeGathered();
    }
}

/// @return as FrameDecoder::decode
int WmaEngine::decodeGathered()
{
    std::size_t const size = m_block.size();
    m_block.resize(size + FrameDecoder::PaddingBytes);
    return m_decoder->decode(m_block.data(), size);
}

int WmaEngine::seek(unsigned int milliseconds, unsigned int* reached)
{
    if (m_stream.duration == 0)
        return Failed;
    if (milliseconds > m_stream.duration)
        return ASF_NoMoreData;
    m_target = milliseconds;
    if (reached)
        *reached = milliseconds;
    return 0;
}

int seekWma(void* state, unsigned int milliseconds, unsigned int* reached)
{
    auto const engine = WmaEngines::instance().get(state);
    return engine ? engine->seek(milliseconds, reached) : WmaEngine::Failed;
}

int resetWma(void* state)
{
    if (auto const engine = WmaEngines::instance().get(state))
        engine->reset();
    return 0;
}

}} // namespace avr::host
