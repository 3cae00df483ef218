#pragma once

#include "AacFrameSource.h"
#include "AacUpSampler.h"
#include "BufferReaderModule.h"
#include "EngineDecoder.h"

#include <memory>

namespace kiv { namespace appli {

/// AAC in ADTS, ADIF and MP4, decoded by the platform's codec (VAAC_...). Blocks are of 32-bit
/// stereo samples; rates below 44100 Hz are brought to 44100 or 48000 Hz. The frame that tells the
/// format and the next one are not played.
class AVR_API VAACDecoder final
    : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, IDecoder,
                                         Avr::Decoder::BufferReaderModule<VAACDecoder>> {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    VAACDecoder();
    ~VAACDecoder() override;

    int Seek(long) override { return ErrorFailed; }
    int Seek(double) override { return ErrorFailed; }
    /// MP4 only: to the sample that whole seconds of the delivered rate give.
    int Seek(TimeSpec const& position) override;
    int SetProperty(smart_enum<DecoderPropTypeBase>, std::string&) override { return ErrorFailed; }
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    void closeHook() override;

private:
    /// What the codec works in.
    struct Areas;

    bool isOvertaken() const { return m_seeks != m_seeksSeen; }
    unsigned int readInput(void* buf, unsigned int bytes);
    int seekInput(long offset, int origin);
    bool initCodec();
    int GetAACFileParameters();
    int probe();
    void describe(std::uint32_t rate);
    void describeMp4();
    int playFrames();
    bool restartCodec();
    int playFrame();
    int VAAC_writePcm();

    std::unique_ptr<Areas> const m_areas;
    AacFrameSource m_source;
    AacUpSampler m_upSampler;
    int m_fileType = -1;       ///< decoding thread
    unsigned int m_frames = 0; ///< with samples, the probe's included; decoding thread
    int m_initErrors = 0;      ///< since the last good frame
    std::atomic<unsigned int> m_seeks{0};
    unsigned int m_seeksSeen = 0; ///< before the frame in progress was chosen; decoding thread
};

}} // namespace kiv::appli
