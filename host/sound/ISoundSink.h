#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace avr { namespace host {

/// Interleaved, signed PCM in the host's byte order.
struct PcmFormat {
    std::uint32_t rate = 0;           ///< frames per second
    std::uint16_t channels = 0;       ///< samples per frame
    std::uint16_t bytesPerSample = 0; ///< 1, 2, 3 (packed) or 4

    std::size_t frameBytes() const { return std::size_t(channels) * bytesPerSample; }
};

inline bool operator==(PcmFormat const& a, PcmFormat const& b)
{
    return a.rate == b.rate && a.channels == b.channels && a.bytesPerSample == b.bytesPerSample;
}
inline bool operator!=(PcmFormat const& a, PcmFormat const& b) { return !(a == b); }

/// For error lines.
inline std::string describe(PcmFormat const& format)
{
    return std::to_string(format.rate) + " Hz, " + std::to_string(format.channels) + " channels, " +
           std::to_string(format.bytesPerSample * 8) + " bits";
}

/// Where the sound device's PCM goes. The sound device sees to it that at most one thread is
/// inside a sink at a time; no call but write may block, and write for some 50 ms at most.
class ISoundSink {
public:
    virtual ~ISoundSink() = default;

    /// Prepares for PCM of this format; called for every run, also when nothing changed and after
    /// a failure. The sink is not paused then.
    /// @param error  receives one line for the user on failure
    virtual bool open(PcmFormat const& format, std::string& error) = 0;

    /// Takes whole frames.
    /// @return bytes taken, whole frames; 0 when there is no room yet; negative when the sink has
    ///         failed, and then `error` holds one line for the user
    virtual long write(const std::uint8_t* pcm, std::size_t bytes, std::string& error) = 0;

    /// The end mark was reached: what is held back for want of data must be played now.
    virtual void finish() {}
    /// True when everything taken has been heard or stored.
    virtual bool drained() { return true; }
    /// Stops or goes on; never called twice with the same value.
    virtual void pause(bool) {}
    /// Drops what was taken and not yet heard, also while paused. Files keep theirs.
    virtual void discard() {}
    /// Ends the output: a file is complete afterwards.
    /// @return false, with one line in `error`, when something could not be stored
    virtual bool close(std::string& error) = 0;
};

}} // namespace avr::host
