#pragma once

#include "decoder/DecoderProperty.h"
#include "decoder/DecoderState.h"
#include "decoder/Export.h"
#include "decoder/Result.h"
#include "decoder/WaveFormat.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace Avr { namespace Interface {
class IReadableStream;
}} // namespace Avr::Interface

namespace kiv { namespace appli {

class IDecoderCallback;

/// A decoder. Every operation may be called from any thread at any time unless it says otherwise;
/// none throws. The usual order is Open, (event 2), Start, (event 4, OnSample ...), event 6 or
/// Close, event 1; then Open again for the next track.
class AVR_API IDecoder {
public:
    virtual ~IDecoder() = default;

    /// Begins a run: keeps stream and callback and starts the decoding thread, which opens the
    /// stream and reads its format. Returns before that; the outcome is event 2, or 0, 11 or 12
    /// followed by 1. A run in progress is closed first.
    /// @param callback  may be null: WAVE and its test mode then end at their first block
    /// @return 0; -10002 for a null stream, when no thread could be made, or inside a callback of
    ///         this decoder (there nothing changes)
    virtual int Open(boost::shared_ptr<Avr::Interface::IReadableStream> stream,
                     IDecoderCallback* callback) = 0;

    /// Lets the run play. From event 2 on, also inside it.
    /// @return 0; -10008 in every other state (FLAC and Ogg Vorbis: always 0)
    virtual int Start() = 0;

    /// Ends a pause. @return 0 always
    virtual int Resume() = 0;

    /// Asks the play loop to wait after the current block; event 5 says that it does. Between
    /// Start and event 4 the request is kept until the play loop begins.
    /// @return 0; -10002 when nothing plays
    virtual int Pause() = 0;

    /// Ends the run: closes the stream, which ends a read in progress, and waits for the decoding
    /// thread. When it returns event 1 has been sent and the state is Closed. Inside a callback of
    /// this decoder it only asks for the end and returns; event 1 follows.
    /// @return 0 always
    virtual int Close() = 0;

    /// Position in bytes or samples, as the decoder defines it; most decoders have only the third
    /// form. @return 0, -10005 or -10002
    virtual int Seek(long position) = 0;
    /// Position in seconds. @return 0, -10005 or -10002
    virtual int Seek(double seconds) = 0;
    /// Repositions a run between event 2 and its end, playing or not; event 10 reports the new
    /// position before this returns. Waits for a read in progress.
    /// @return 0; -10005 when the stream cannot seek (FLAC: or has no such frame); -10002 outside a
    ///         run, and always from Ogg Vorbis and HE-AAC; 1 when the stream failed to reposition
    ///         (WAVE)
    virtual int Seek(TimeSpec const& position) = 0;

    /// Sets the format of headerless PCM (SampleRate, BitsPerSample, Channels), after Open and
    /// before Start. Other decoders ignore it.
    /// @return 0; -10002 when the value is not a number that fits (LPCM)
    virtual int SetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) = 0;
    /// Writes the value as text. @return 0; -10002, and an empty text, for what is not answered
    virtual int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) = 0;

    /// Copies the current 24-byte format record; zeros before the format is known. @return 0
    virtual int GetWaveFormat(tWAVEFORMAT& format) = 0;
    /// Copies the state. @return 0
    virtual int GetCurrentState(smart_enum<DecoderStateBase>& state) = 0;
};

}} // namespace kiv::appli
