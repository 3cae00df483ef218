#pragma once

#include "WaveDecoderCore.h"

namespace kiv { namespace appli {

class WaveDecoder;

template <>
struct WaveTraits<WaveDecoder> {
    static constexpr const char* Name = "WaveDecoder";
    static constexpr unsigned int DurationTimes = 1;
    static void reportDataSize(long long) {}
};

/// RIFF/WAVE files of integer PCM. Blocks of 1024 frames go out unchanged, 8-bit samples made
/// signed; a partly filled last block does not.
class AVR_API WaveDecoder final : public WaveDecoderCore<WaveDecoder> {
public:
    ~WaveDecoder() override { Close(); }

protected:
    int playThread() override;

private:
    int playBlocks(std::uint8_t* block, unsigned int bytes);
};

}} // namespace kiv::appli
