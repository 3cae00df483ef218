#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace avr { namespace host {

/// What the host's codecs need of libavcodec. It is built as a module of its own, beside the
/// platform's library, and loaded when the first codec asks for it: it costs some 32 MB by being
/// loaded.

enum class Codec { Mp3, AacLc, Wma1, Wma2, WmaLossless };

/// What a decoder is told beforehand.
struct CodecConfig {
    /// An AudioSpecificConfig; none for MP3; WMA's own data.
    std::vector<std::uint8_t> extra;
    /// Of WMA.
    std::uint32_t samplingRate = 0;
    std::uint32_t channels = 0;
    std::uint32_t bitRate = 0;
    std::uint32_t blockAlign = 0;
};

/// A bare decoder: whole frames in, PCM out. One thread at a time.
class FrameDecoder {
public:
    virtual ~FrameDecoder() = default;

    /// Decodes one frame. The result is valid until the next call.
    /// @param frame  PaddingBytes of zeros stand behind it; of anything behind WMA's, which stays
    ///               until the next one
    /// @return samples per channel; 0 when it gives none; negative when it cannot be decoded
    virtual int decode(const std::uint8_t* frame, std::size_t bytes) = 0;
    static constexpr std::size_t PaddingBytes = 64;
    /// Of WMA: goes on with what was given, which may be more than one frame. @return as decode
    virtual int decodeMore() = 0;
    /// Of WMA: nothing more will be given; what was held back is decoded. @return as decode
    virtual int finish() = 0;

    /// Forgets what earlier frames left for the next ones.
    virtual void reset() = 0;

    /// Of the last frame.
    virtual unsigned int channels() const = 0;
    virtual unsigned int samplingRate() const = 0;
    /// Bytes that the last frame took of what was given; the rest is the next one's, to be given
    /// again.
    virtual std::size_t taken() const = 0;
    /// A plane per channel.
    virtual const float* const* planes() const = 0;
    /// Of WMA lossless: its planes hold words of 16 bits; or of 32 bits, the lowest 8 of them 0.
    virtual const void* plane(unsigned int channel) const = 0;
};

/// The module's entry.
struct CodecModule {
    /// @return null when that cannot be decoded
    std::unique_ptr<FrameDecoder> (*makeDecoder)(Codec codec, CodecConfig const& config);
};

/// Loads the module at the first call. @return null when it cannot be loaded
CodecModule const* codecModule();

}} // namespace avr::host
