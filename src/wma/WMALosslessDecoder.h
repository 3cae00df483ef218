#pragma once

#include "WmaInnerDecoder.h"
#include "WmaLosslessCodec.h"

namespace kiv { namespace appli {

/// WMA Lossless from an ASF file, for VWMADecoder. A pause does not hold it up.
class AVR_API WMALosslessDecoder final : public WmaInnerDecoder {
public:
    WMALosslessDecoder() : WMALosslessDecoder(nullptr) {}
    explicit WMALosslessDecoder(StreamPtr) : WMALosslessDecoder(nullptr) {}
    explicit WMALosslessDecoder(VWMADecoder* parent) : WmaInnerDecoder(parent, "wmalsl") {}
    ~WMALosslessDecoder() override { Close(); }

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    int seekCodec(unsigned int milliseconds) override { return m_codec.seek(milliseconds); }
    void resetCodec() override { m_codec.reset(); }

private:
    static constexpr unsigned int PcmBytes = 8192;

    int playFrame(unsigned int available);

    WmaLosslessCodec m_codec;
    alignas(8) unsigned char m_pcm[PcmBytes] = {};
};

}} // namespace kiv::appli
