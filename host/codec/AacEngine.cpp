#include "AacEngine.h"

#include "AdifHeader.h"
#include "AdtsFrame.h"
#include "Pcm16.h"

#include <algorithm>
#include <utility>

namespace avr { namespace host {

bool AacEngine::configure(std::vector<std::uint8_t> const& config)
{
    if (m_decoder && config == m_config)
        return true;
    m_config = config;
    m_decoder = makeDecoder(config);
    return m_decoder != nullptr;
}

std::size_t AacEngine::decodeBlock(const std::uint8_t* block, std::size_t bytes, std::int16_t* out)
{
    if (!m_decoder || m_decoder->decode(block, bytes) != int(VAAC_FrameSamples))
        return 0;
    m_info = {m_decoder->samplingRate(), m_decoder->channels(), VAAC_FrameSamples};
    for (unsigned int i = 0; i < std::min(m_info.channels, VAAC_Planes); ++i)
        pcm::writePlane(m_decoder->planes()[i], VAAC_FrameSamples, out + i * VAAC_FrameSamples);
    return m_decoder->taken();
}

namespace {

constexpr unsigned int ProgramConfigId = 5; ///< of the elements in a block

/// Each input is a block; the format is known beforehand.
class Mp4Engine final : public AacEngine {
public:
    Mp4Engine(CodecModule const& module, VAAC_Config const& track)
        : AacEngine(module, Room), m_track(track)
    {}

    bool begin(AacFormat const& format) { return configure(coreConfig(format)); }

    bool restart(VAAC_Config const& config, int fileType) override
    {
        m_bytes = 0;
        forgetFrames();
        return fileType == VAAC_Mp4 && config.samplingRate == m_track.samplingRate &&
               config.channels == m_track.channels;
    }
    std::size_t roomBytes() const override { return Room; }
    bool wantsInput() const override { return m_bytes == 0; }
    void take(std::size_t bytes) override
    {
        m_bytes = bytes;
        std::fill_n(m_input.data() + bytes, FrameDecoder::PaddingBytes, std::uint8_t{0});
    }
    bool decode(std::int16_t* pcm) override
    {
        clearInfo();
        std::size_t const bytes = std::exchange(m_bytes, 0);
        return bytes == 0 || decodeBlock(m_input.data(), bytes, pcm) != 0;
    }

private:
    static constexpr std::size_t Room = 16384; ///< a block of 16 channels needs 12288
    VAAC_Config const m_track;
    std::size_t m_bytes = 0;
};

/// Each input is a frame with its header, mostly of one block.
class AdtsEngine final : public AacEngine {
public:
    explicit AdtsEngine(CodecModule const& module) : AacEngine(module, AdtsReader::MostFrameBytes)
    {}

    bool restart(VAAC_Config const&, int fileType) override
    {
        m_blocks = 0;
        forgetFrames();
        return fileType == VAAC_Adts;
    }
    std::size_t roomBytes() const override { return AdtsReader::MostFrameBytes; }
    bool wantsInput() const override { return m_blocks == 0; }
    void take(std::size_t bytes) override;
    bool decode(std::int16_t* pcm) override;

private:
    bool begin();

    AdtsHeader m_header;
    AacFormat m_format;        ///< of the decoder, as far as the headers tell it
    std::size_t m_at = 0;      ///< the next block
    std::size_t m_end = 0;     ///< of the frame
    unsigned int m_blocks = 0; ///< that are still to be decoded
    bool m_begun = false;      ///< the header has been looked at
};

void AdtsEngine::take(std::size_t bytes)
{
    m_end = bytes;
    m_blocks = 1;
    m_begun = false;
    std::fill_n(m_input.data() + bytes, FrameDecoder::PaddingBytes, std::uint8_t{0});
}

bool AdtsEngine::begin()
{
    m_begun = true;
    if (m_end < AdtsHeader::FixedBytes || !parseAdtsHeader(m_input.data(), m_header) ||
        m_header.frameBytes != m_end)
        return false;
    m_at = m_header.headerBytes;
    m_blocks = m_header.blocks;
    if (m_header.format.channels != 0) {
        if (m_header.format == m_format)
            return true;
        m_format = m_header.format;
        return configure(coreConfig(m_format));
    }
    m_format = {};
    BitReader block(m_input.data() + m_at, m_end - m_at);
    if (block.take(3) == ProgramConfigId)
        return configure(programConfig(block));
    return configure(m_config); // it holds on until the next one
}

bool AdtsEngine::decode(std::int16_t* pcm)
{
    clearInfo();
    if (m_blocks == 0)
        return true;
    bool const decodable = m_begun || begin();
    std::size_t const taken = decodable ? decodeBlock(m_input.data() + m_at, m_end - m_at, pcm) : 0;
    m_at = std::min(m_at + taken + (m_header.blocksHaveCrc ? 2 : 0), m_end);
    m_blocks = taken != 0 ? m_blocks - 1 : 0;
    return taken != 0;
}

/// The input is a stream of blocks that do not tell their length. So a second decoder tries each,
/// and the first one gets it when it is complete.
class AdifEngine final : public AacEngine {
public:
    explicit AdifEngine(CodecModule const& module) : AacEngine(module, Window + Chunk) {}

    bool restart(VAAC_Config const&, int) override { return false; }
    std::uint8_t* room() override;
    std::size_t roomBytes() const override { return Chunk; }
    bool wantsInput() const override { return m_wantsInput; }
    void take(std::size_t bytes) override;
    bool decode(std::int16_t* pcm) override;

private:
    bool needMore();
    std::size_t measure();

    /// Small, because the last piece of a file is only read when it is a whole one.
    static constexpr std::size_t Chunk = 512;
    static constexpr std::size_t Window = 8192;

    std::unique_ptr<FrameDecoder> m_measuring;
    std::size_t m_begin = 0; ///< of what is still to be decoded
    std::size_t m_end = 0;
    bool m_wantsInput = true;
};

std::uint8_t* AdifEngine::room()
{
    std::copy(m_input.begin() + std::ptrdiff_t(m_begin), m_input.begin() + std::ptrdiff_t(m_end),
              m_input.begin());
    m_end -= std::exchange(m_begin, 0);
    return m_input.data() + m_end;
}

void AdifEngine::take(std::size_t bytes)
{
    m_end = std::min(m_end + bytes, Window);
    m_wantsInput = false;
}

bool AdifEngine::needMore()
{
    m_wantsInput = true;
    return m_end - m_begin + Chunk <= Window;
}

/// @return bytes of the block at m_begin; 0 when it is not complete
std::size_t AdifEngine::measure()
{
    // The decoder takes zeros behind a block for a part of it. A block that takes a byte which is
    // not there ends later.
    std::size_t const bytes = m_end - m_begin;
    m_input[m_end] = 0xFF;
    std::fill_n(m_input.data() + m_end + 1, FrameDecoder::PaddingBytes, std::uint8_t{0});
    bool const decoded =
        bytes != 0 && m_measuring && m_measuring->decode(m_input.data() + m_begin, bytes + 1) > 0;
    return decoded && m_measuring->taken() <= bytes ? m_measuring->taken() : 0;
}

bool AdifEngine::decode(std::int16_t* pcm)
{
    clearInfo();
    if (!m_measuring) {
        AdifHeader header;
        AdifResult const result =
            parseAdifHeader(m_input.data() + m_begin, m_end - m_begin, header);
        if (result == AdifResult::NeedsMore)
            return needMore();
        if (result == AdifResult::Bad || !configure(header.config))
            return false;
        m_measuring = makeDecoder(header.config);
        m_begin += header.bytes;
    }
    std::size_t const bytes = measure();
    if (bytes == 0)
        return needMore();
    const std::uint8_t* const block = m_input.data() + m_begin;
    m_begin += bytes;
    return decodeBlock(block, bytes, pcm) != 0;
}

/// @return null when no config can say this. Without a track nothing is there to be decoded, and
/// the first fetch fails
std::unique_ptr<AacEngine> makeMp4Engine(CodecModule const& module, VAAC_Config const& config)
{
    AacFormat format;
    format.objectType = AacObjectLc;
    format.rateIndex = aacRateIndex(config.samplingRate);
    format.channels = std::min(config.channels, 7u); // which is the layout of 8
    auto engine = std::make_unique<Mp4Engine>(module, config);
    bool const hasTrack = config.samplingRate != 0 || config.channels != 0;
    bool const canBeSaid =
        format.rateIndex < AacRates && format.channels != 0 && config.channels <= 8;
    if (hasTrack && !(canBeSaid && engine->begin(format)))
        return nullptr;
    return engine;
}

} // namespace

std::unique_ptr<AacEngine> AacEngine::make(VAAC_Config const& config, int fileType)
{
    CodecModule const* const module = codecModule();
    if (!module)
        return nullptr;
    switch (fileType) {
    case VAAC_Adif:
        return std::make_unique<AdifEngine>(*module);
    case VAAC_Adts:
        return std::make_unique<AdtsEngine>(*module);
    case VAAC_Mp4:
        return makeMp4Engine(*module, config);
    default:
        return nullptr;
    }
}

}} // namespace avr::host
