#include "FlacFile.h"

#include "Samples.h"

#include <FLAC/stream_encoder.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace avr { namespace test {

namespace {

/// A triangle with noise on it, over the whole range of the width.
std::int32_t sampleAt(FlacSpec const& spec, unsigned int frame, unsigned int channel)
{
    std::uint32_t const period = 200 + 30 * channel;
    std::uint32_t const phase = (frame + spec.shift) % period;
    std::int64_t const range = std::int64_t(1) << (spec.bits - 1);
    std::int64_t const triangle =
        range * (2 * std::int64_t(std::min(phase, period - phase)) - period / 2) / (period / 2 + 1);
    std::uint32_t const noise =
        ((frame + spec.shift) * 2654435761u + channel * 1013904223u) >> (32 - spec.bits * 3 / 4);
    return static_cast<std::int32_t>(std::clamp(triangle + noise, -range, range - 1));
}

FLAC__StreamEncoderWriteStatus write(const FLAC__StreamEncoder*, const FLAC__byte* bytes,
                                     std::size_t count, std::uint32_t, std::uint32_t, void* client)
{
    auto& out = *static_cast<Bytes*>(client);
    out.insert(out.end(), bytes, bytes + count);
    return FLAC__STREAM_ENCODER_WRITE_STATUS_OK;
}

/// Puts what only the end of encoding knows into STREAMINFO: the length of the smallest part.
void setTotal(Bytes& file, std::uint32_t frames)
{
    for (std::size_t i = 0; i < 4; ++i)
        file[22 + i] = static_cast<std::uint8_t>(frames >> (24 - 8 * i));
}

} // namespace

Bytes flacFile(FlacSpec const& spec)
{
    Bytes file;
    std::unique_ptr<FLAC__StreamEncoder, void (*)(FLAC__StreamEncoder*)> const encoder(
        FLAC__stream_encoder_new(), FLAC__stream_encoder_delete);
    FLAC__stream_encoder_set_streamable_subset(encoder.get(), false);
    FLAC__stream_encoder_set_channels(encoder.get(), spec.channels);
    FLAC__stream_encoder_set_bits_per_sample(encoder.get(), spec.bits);
    FLAC__stream_encoder_set_sample_rate(encoder.get(), spec.rate);
    FLAC__stream_encoder_set_blocksize(encoder.get(), spec.blockSize);
    EXPECT_EQ(
        FLAC__STREAM_ENCODER_INIT_STATUS_OK,
        FLAC__stream_encoder_init_stream(encoder.get(), write, nullptr, nullptr, nullptr, &file));
    std::vector<std::int32_t> audio;
    for (unsigned int frame = 0; frame < spec.frames; ++frame)
        for (unsigned int channel = 0; channel < spec.channels; ++channel)
            audio.push_back(sampleAt(spec, frame, channel));
    EXPECT_TRUE(FLAC__stream_encoder_process_interleaved(encoder.get(), audio.data(), spec.frames));
    EXPECT_TRUE(FLAC__stream_encoder_finish(encoder.get()));
    if (spec.knowsTotal)
        setTotal(file, spec.frames);
    return file;
}

Bytes flacPcm(FlacSpec const& spec, unsigned int fromFrame)
{
    unsigned int const width = spec.bits % 8 == 0 ? spec.bits / 8 : 4;
    Bytes pcm;
    for (unsigned int frame = fromFrame; frame < spec.frames; ++frame)
        for (unsigned int channel = 0; channel < std::min(spec.channels, 2u); ++channel)
            append(pcm, static_cast<std::uint32_t>(sampleAt(spec, frame, channel)),
                   static_cast<int>(width));
    return pcm;
}

}} // namespace avr::test
