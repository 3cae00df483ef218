#pragma once

#include "decoder/Export.h"
#include "decoder/WaveFormat.h"

namespace kiv { namespace appli {

/// What OnEvent reports.
enum DecoderEvent : int {
    EventRunFailed = 0,    ///< the run ended before the end of its input (no data)
    EventClosed = 1,       ///< the run is over; always sent once, always last (no data)
    EventStreamInfo = 2,   ///< DecoderStreamInfo*, 36: the format is known, Start may be called
    EventDecoding = 4,     ///< decoding begins, or goes on after a pause (no data)
    EventPaused = 5,       ///< the play loop waits; repeated every 10 seconds (no data)
    EventEndOfStream = 6,  ///< all input was decoded (no data)
    EventTrackInfo = 7,    ///< PdtTrackInfo*, 8: artist and title found in the stream
    EventBufferStatus = 8, ///< int*, 4: fill of the read-ahead buffer, 100 = playable
    EventPosition = 10,    ///< TimeSpec*, 8: a seek moved the position
    EventOpenFailed = 11,  ///< the format could not be read (no data)
    EventOpenFailedByStream = 12 ///< the format could not be read, the stream failed (no data)
};

/// The player's side: receives PCM and events of one decoder's run. It must live from Open to the
/// close event. No lock of the decoder is held during a call, so every operation of the decoder
/// may be called from inside one; Close then only asks the run to end, Open is refused, and a
/// Close or Open on another thread that the callback waits for would wait for the callback.
/// An exception out of OnSample counts as -10002, one out of OnEvent is dropped.
class AVR_API IDecoderCallback {
public:
    virtual ~IDecoderCallback() = default; // takes the first two slots of the table

    /// One block of interleaved, signed PCM in the host's byte order.
    /// @param pcm       the block, valid during the call only
    /// @param bytes     its size
    /// @param duration  its playing time
    /// @return negative to end the run with this result
    /// Decoding thread only. It may block: that is how the player paces the decoder.
    virtual int OnSample(const void* pcm, unsigned int bytes, TimeSpec* duration) = 0;

    /// @param event  a DecoderEvent
    /// @param data, size  its payload, valid during the call only
    /// Decoding thread; EventPosition comes on the thread that called Seek, before Seek returns.
    /// The result is ignored.
    virtual int OnEvent(int event, void* data, unsigned int size) = 0;
};

}} // namespace kiv::appli
