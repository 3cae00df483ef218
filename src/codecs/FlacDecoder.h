#pragma once

#include "LibraryDecoder.h"

#include <memory>

namespace kiv { namespace appli {

/// FLAC streams. Event 2 and the wave format have the stream's own width; samples of another width
/// than 8, 16, 24 and 32 bits come in 4 bytes each, in the low bits. Of more than two channels the
/// first two are played.
class AVR_API FlacDecoder final : public LibraryDecoder {
public:
    FlacDecoder();
    ~FlacDecoder() override;

    using LibraryDecoder::Seek;
    /// To the exact frame, in a stream that can be positioned by byte. What comes next begins with
    /// it. Waits for the data that it needs.
    /// @return 0; -10005 when there is no such frame or it cannot be reached: the run plays on
    /// where it was; -10002 outside a run
    int Seek(TimeSpec const& position) override;
    /// SampleRate is cut to 16 bits.
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    void closeHook() override;

private:
    class Input;

    int playFrame();
    int deliver();
    bool reposition(TimeSpec const& position);

    std::unique_ptr<Input> m_input;
};

}} // namespace kiv::appli
