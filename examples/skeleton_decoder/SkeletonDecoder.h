#pragma once

#include "BufferReaderModule.h"
#include "EngineDecoder.h"

#include <vector>

namespace kiv { namespace appli {

/// The decoder that docs/adding-a-decoder.md builds, for a format that is made up: a head of 10
/// bytes, "DLTA", rate (32 bits) and channels (16 bits), little-endian; then one signed byte per
/// sample, interleaved: a 256th of what the channel's sample differs from its last one, from 0 on.
class AVR_API SkeletonDecoder final
    : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, IDecoder,
                                         Avr::Decoder::BufferReaderModule<SkeletonDecoder>> {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    ~SkeletonDecoder() override { Close(); } // while the hooks are still there

    // A sample needs all before it: every seek is refused.
    int Seek(long) override { return ErrorNotSupported; }
    int Seek(double) override { return ErrorNotSupported; }
    int Seek(TimeSpec const&) override { return ErrorNotSupported; }
    int SetProperty(smart_enum<DecoderPropTypeBase>, std::string&) override { return Ok; }
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;

    static constexpr std::uint32_t Codec = 0x10FF0000; ///< a real one stands in CodecId

protected:
    int openHook(StreamPtr stream) override;
    int playThread() override;
    void closeHook() override;

private:
    void decode(const std::int8_t* coded, std::size_t frames);

    // Decoding thread only.
    std::vector<std::int16_t> m_last; ///< sample of each channel
    std::vector<std::int16_t> m_pcm;  ///< of one block
};

}} // namespace kiv::appli
