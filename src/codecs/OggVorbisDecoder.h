#pragma once

#include "LibraryDecoder.h"

#include <cstdint>
#include <memory>

namespace kiv { namespace appli {

/// Ogg Vorbis streams, in blocks of 1024 frames of 16 bits. Of more than two channels the front
/// left and right are played. A chained stream plays on through its links, whatever their channels,
/// at the rate of the first.
class AVR_API OggVorbisDecoder final : public LibraryDecoder {
public:
    OggVorbisDecoder();
    ~OggVorbisDecoder() override;

    using LibraryDecoder::Seek;
    /// @return -10002: the library takes every stream as one that cannot be positioned
    int Seek(TimeSpec const& position) override;
    /// SampleRate is answered with the nominal bit rate, BitsPerSample with the rate. Within a run
    /// only.
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    void closeHook() override;

private:
    class Input;
    /// What the properties tell.
    struct Description {
        bool known;
        std::int32_t rate;
        std::int32_t nominalBitRate; ///< negative where the stream says so
        int channels;                ///< of those that are played
    };

    int playBlock(short* block);
    int deliver(const short* block, unsigned int frames);

    std::unique_ptr<Input> m_input;
    Description m_description{}; ///< guarded by stateLock()
};

}} // namespace kiv::appli
