#pragma once

#include "KeptInterruption.h"
#include "platform/codecs/vaac.h"
#include "platform/codecs/vmp2.h"
#include "platform/codecs/vmp4.h"

#include <atomic>
#include <functional>

namespace kiv { namespace appli {

/// Brings frames of AAC from an ADTS, ADIF or MP4 input to the codec. Decoding thread, but for
/// moveTo.
class AacFrameSource {
public:
    /// Of the input, both as the platform's libraries want them.
    struct Reading {
        std::function<unsigned int(void* buf, unsigned int bytes)> read;
        std::function<int(long offset, int origin)> seek;
    };
    enum class Outcome {
        Ready, ///< the codec has what it wants
        Ended, ///< the input has no more
        Failed ///< error() tells
    };

    explicit AacFrameSource(Reading reading) : m_reading(std::move(reading)) {}
    ~AacFrameSource() { close(); }
    AacFrameSource(AacFrameSource const&) = delete;
    AacFrameSource& operator=(AacFrameSource const&) = delete;

    /// @return 0; another value when the input cannot be opened
    int open(VAAC_FileType type);
    void close();
    /// Gives the codec's instance its next input, when it wants some.
    Outcome fetch(void* instance);
    int error() const { return m_error; }

    bool isMp4() const { return m_type == VAAC_Mp4; }
    VMP4_Info const& mp4Info() const { return m_mp4Info; }
    /// The sample of an MP4 file that is fetched next. Any thread.
    void moveTo(std::uint32_t sample) { m_sample = sample; }

private:
    int read(void* buffer, unsigned int capacity);
    static unsigned int readFor(void* destination, unsigned int elementSize, unsigned int count,
                                void* context);
    static int seekFor(void* context, long offset, int origin);

    Reading const m_reading;
    Avr::Decoder::KeptInterruption m_interruption;
    std::atomic<int> m_type{Closed};
    std::atomic<std::uint32_t> m_sample{0};
    std::int16_t m_track = 0;
    int m_error = 0;
    VMP4_Info m_mp4Info{};
    alignas(8) unsigned char m_mp4[VMP4_StateBytes];
    alignas(8) unsigned char m_adts[VMP2_StateBytes];
    unsigned char m_adtsFrame[VMP2_FrameBytes];

    static constexpr int Closed = -1;
};

}} // namespace kiv::appli
