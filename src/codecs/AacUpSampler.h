#pragma once

#include "Upsample.h"

#include <cstdint>
#include <vector>

namespace kiv { namespace appli {

/// Brings blocks of 1024 stereo frames to 44100 or 48000 Hz where their rate is lower. Decoding
/// thread.
class AacUpSampler {
public:
    static constexpr int BlockSamples = 2048;

    struct Block {
        const std::int32_t* samples;
        unsigned int bytes;
    };

    /// Forgets everything.
    void reset();
    /// Of the stream's rate. @return the rate that is delivered; 0 when it cannot be reached
    std::uint32_t begin(std::uint32_t rate);
    /// A frame with another rate than the one before may end the conversion, or begin one.
    void follow(std::uint32_t rate);
    Block convert(std::int32_t* block);

private:
    void prepare();

    std::uint32_t m_source = 0;      ///< 0 = nothing to convert
    std::uint32_t m_destination = 0; ///< 0 = none
    avr::upsample m_upsample;
    std::vector<int> m_output;
};

}} // namespace kiv::appli
