#pragma once

#include "AacConfig.h"
#include "CodecModule.h"
#include "platform/codecs/vaac.h"

#include <memory>

namespace avr { namespace host {

/// What stands behind an instance of the AAC codec: it cuts its input into raw blocks and decodes
/// these. There is a kind for each type of input.
class AacEngine {
public:
    virtual ~AacEngine() = default;
    /// Begins anew with the same config, if it can. It keeps its decoder, which is costly to make,
    /// and what earlier input told of the format. @return false: another engine has to be made
    virtual bool restart(VAAC_Config const& config, int fileType) = 0;
    /// Whether the last block could not be decoded.
    bool failed = false;
    AacEngine(AacEngine const&) = delete;
    AacEngine& operator=(AacEngine const&) = delete;

    /// @return null when there is no such input, or no decoder for it
    static std::unique_ptr<AacEngine> make(VAAC_Config const& config, int fileType);

    /// Where the next input goes.
    virtual std::uint8_t* room() { return m_input.data(); }
    virtual std::size_t roomBytes() const = 0;
    virtual bool wantsInput() const = 0;
    /// So many bytes are in the room.
    virtual void take(std::size_t bytes) = 0;
    /// Decodes the next block, if there is one. @return false when it cannot be decoded
    virtual bool decode(std::int16_t* pcm) = 0;

    VAAC_StreamInfo const& info() const { return m_info; }

protected:
    AacEngine(CodecModule const& module, std::size_t inputBytes)
        : m_input(inputBytes + FrameDecoder::PaddingBytes), m_module(module)
    {}

    std::unique_ptr<FrameDecoder> makeDecoder(std::vector<std::uint8_t> const& config) const
    {
        return m_module.makeDecoder(Codec::AacLc, {config});
    }
    /// Makes a decoder unless it is this one already.
    bool configure(std::vector<std::uint8_t> const& config);
    void clearInfo() { m_info = {}; }
    void forgetFrames()
    {
        if (m_decoder)
            m_decoder->reset();
    }
    /// @return bytes of the block; 0 when it cannot be decoded
    std::size_t decodeBlock(const std::uint8_t* block, std::size_t bytes, std::int16_t* out);

    std::vector<std::uint8_t> m_input; ///< and the padding
    std::vector<std::uint8_t> m_config;

private:
    CodecModule const& m_module;
    std::unique_ptr<FrameDecoder> m_decoder;
    VAAC_StreamInfo m_info{};
};

}} // namespace avr::host
