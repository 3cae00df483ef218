#pragma once

#include "WmaInnerDecoder.h"
#include "WmaStdCodec.h"

namespace kiv { namespace appli {

/// Standard WMA from an ASF file, for VWMADecoder. A pause does not hold it up.
class AVR_API WMAStdDecoder final : public WmaInnerDecoder {
public:
    WMAStdDecoder() : WMAStdDecoder(nullptr) {}
    explicit WMAStdDecoder(StreamPtr) : WMAStdDecoder(nullptr) {}
    explicit WMAStdDecoder(VWMADecoder* parent) : WmaInnerDecoder(parent, "wma") {}
    ~WMAStdDecoder() override { Close(); }

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    int seekCodec(unsigned int milliseconds) override { return m_codec.seek(milliseconds); }
    void resetCodec() override { m_codec.reset(); }

private:
    WmaStdCodec m_codec;
    alignas(8) unsigned char m_pcm[WMA_PcmBytes];
};

}} // namespace kiv::appli
