#pragma once

#include "WaveDecoderCore.h"

#include <atomic>
#include <vector>

namespace kiv { namespace appli {

/// Ends the passes of the test mode at the next block. Cleared when one begins to play; any
/// thread may set it.
extern AVR_API std::atomic<bool> m_flag;

class WaveTestModeDecoder;

template <>
struct WaveTraits<WaveTestModeDecoder> {
    static constexpr const char* Name = "WaveTestModeDecoder";
    /// Of the announced duration; what is played are more passes.
    static constexpr unsigned int DurationTimes = 35;
    static void reportDataSize(long long bytes);
};

/// Loads the audio of a RIFF/WAVE file into memory and plays it 60 times over.
class AVR_API WaveTestModeDecoder final : public WaveDecoderCore<WaveTestModeDecoder> {
public:
    ~WaveTestModeDecoder() override { Close(); }

protected:
    int playThread() override;

private:
    using Block = std::vector<std::uint8_t>;

    std::vector<Block> load(std::size_t blockBytes);
    int playPasses(std::vector<Block>& blocks);
    void endPlayback();
};

}} // namespace kiv::appli
