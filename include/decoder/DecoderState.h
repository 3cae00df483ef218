#pragma once

#include "decoder/SmartEnum.h"

namespace kiv { namespace appli {

/// The states of a decoder. A run is everything from Open to the close event.
struct DecoderStateBase {
    /// The states.
    enum Value : int {
        Error = 0,          ///< no stream, or it could not be opened, or a read failed
        Closed = 1,         ///< before the first run and after each
        PreDecoding = 2,    ///< opening, then (after event 2) waiting for Start
        StartRequested = 3, ///< Start was called, the decoding thread has not begun to play
        Decoding = 4,       ///< the play loop runs
        Paused = 5,         ///< the play loop waits for Resume
        EndOfStream = 6,    ///< all input was decoded and, where the decoder waits for it, played
        OpenFailed = 11,    ///< the format could not be read; the stream itself is well
        OpenFailedByStream = 12 ///< the format could not be read because the stream failed
    };
};
static_assert(sizeof(smart_enum<DecoderStateBase>) == 4, "crosses the boundary as 32 bits");

}} // namespace kiv::appli
