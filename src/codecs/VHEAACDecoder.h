#pragma once

#include "BufferReaderModule.h"
#include "EngineDecoder.h"

#include <memory>

namespace kiv { namespace appli {

/// AAC and HE-AAC in an ADTS stream, decoded by FDK AAC. Blocks are FDK's frames, interleaved and
/// in 32 bits. The record always says 2 channels, also when a mono stream brings one. The frame
/// that tells the format, the next one and those that FDK had to conceal are not played.
class AVR_API VHEAACDecoder final
    : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, IDecoder,
                                         Avr::Decoder::BufferReaderModule<VHEAACDecoder>> {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    VHEAACDecoder();
    ~VHEAACDecoder() override;

    // An ADTS stream has no index: every seek is refused.
    int Seek(long) override { return ErrorFailed; }
    int Seek(double) override { return ErrorFailed; }
    int Seek(TimeSpec const& position) override;
    int SetProperty(smart_enum<DecoderPropTypeBase>, std::string&) override { return ErrorFailed; }
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    void closeHook() override;

private:
    struct VHEAAC_wrapParam;

    bool hasResource(const char* operation) const;
    int GetHEAACFileParameters();
    void fillStreamInfo();
    void readWhenDry();
    int playFrame();
    int VHEAAC_writePcm();

    /// What belongs to FDK. Decoding thread.
    std::unique_ptr<VHEAAC_wrapParam> const m_param;
};

}} // namespace kiv::appli
