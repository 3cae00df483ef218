#pragma once

#include <chrono>
#include <cstddef>

namespace Avr { namespace Decoder {

/// The engine's time limits. Constants as far as the product goes; tests shorten them, before any
/// decoder runs.
struct Deadlines {
    using Milliseconds = std::chrono::milliseconds;

    Milliseconds joinReport{3000};   ///< Close says that the thread has not ended yet
    Milliseconds closeAgain{50};     ///< Close closes the stream once more
    Milliseconds pauseReport{10000}; ///< event 5 is repeated
    Milliseconds readWait{7500};     ///< one wait for buffered data
    Milliseconds libraryWait{5000};  ///< one wait for the data of FLAC and Ogg Vorbis
    Milliseconds parseWait{4000};    ///< WMA: for the first kind's word on a file
    Milliseconds endPoll{20};        ///< the sound device is asked again whether it has finished
    Milliseconds pausedPoll{1000};   ///< the same while paused
    Milliseconds retryPause{5};      ///< an unbuffered stream is asked again
    std::chrono::microseconds pacingPause{2000}; ///< HE-AAC, for every 1024 samples of a channel
    std::size_t threadStackBytes = 0; ///< of the decoding thread; 0 = the system's default
};

inline Deadlines& deadlines()
{
    static Deadlines instance;
    return instance;
}

}} // namespace Avr::Decoder
