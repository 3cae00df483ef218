#pragma once

#include "EngineDecoder.h"

#include <vector>

namespace Avr { namespace Decoder {

/// Headerless 16-bit big-endian PCM. Nothing in the stream describes it: the format is 44100 Hz,
/// 2 channels, 16 bits unless the player sets another between Open and Start. Event 2 always
/// carries the default.
class AVR_API LpcmDecoder final : public EngineDecoder<DecoderImple, kiv::appli::IDecoder> {
public:
    LpcmDecoder() = default;
    ~LpcmDecoder() override { Close(); }

    int Seek(long position) override;
    int Seek(double seconds) override;
    /// By time where the stream can, else by byte.
    int Seek(TimeSpec const& position) override;
    int SetProperty(kiv::appli::smart_enum<kiv::appli::DecoderPropTypeBase> type,
                    std::string& value) override;
    int GetProperty(kiv::appli::smart_enum<kiv::appli::DecoderPropTypeBase> type,
                    std::string& value) override;
    int GetWaveFormat(tWAVEFORMAT& format) override;

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    void prepareRun() override;

private:
    class Block;

    tWAVEFORMAT settleFormat();
    int readBlock(Block& block);
    int reposition(Stream& stream, TimeSpec const& position);
    tWAVEFORMAT format() const;

    tWAVEFORMAT m_format{}; ///< guarded by stateLock()
};

}} // namespace Avr::Decoder
