#pragma once

#include "decoder/WaveFormat.h"

#include <mutex>

namespace avr { namespace player {

/// Where in the track the listener is, from the bytes that the output has taken. The decoding
/// thread counts and, in a seek, the seeking one moves it; the main loop reads.
class PlayClock {
public:
    void begin(double bytesPerSecond);
    /// A block went into the queue.
    void delivered(unsigned int bytes);
    unsigned long long bytesDelivered() const;

    /// A seek to this position has dropped the queue; `taken` is the output's count at this moment.
    void dropped(unsigned long long taken, kiv::appli::TimeSpec const& position);
    /// That seek has moved the decoder too. Without it (a failed seek) the clock goes on where the
    /// decoder is, so what was dropped counts as heard.
    void moved();

    /// @param taken  the output's count now
    double seconds(unsigned long long taken) const;

private:
    mutable std::mutex m_lock; ///< guards everything below
    double m_bytesPerSecond = 0;
    unsigned long long m_delivered = 0;       ///< in the whole run
    unsigned long long m_deliveredAtBase = 0; ///< when the decoder was at m_base
    unsigned long long m_deliveredAtDrop = 0;
    unsigned long long m_takenAtDrop = 0;
    unsigned long long m_before = 0; ///< bytes from m_base to the last drop
    double m_base = 0;               ///< seconds
    double m_requested = 0;          ///< seconds
};

}} // namespace avr::player
