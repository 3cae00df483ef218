#pragma once

#include <boost/crc.hpp>

#include <mutex>
#include <string>

namespace avr { namespace player {

/// What --events prints: each event of a run as one line and, at its end, a digest of the PCM.
/// Events come from the decoding thread and from whoever seeks, PCM from the decoding thread.
class EventLog {
public:
    /// @param withBufferFill  event 8 too: how often it comes depends on timing
    EventLog(int descriptor, bool withBufferFill);

    /// A new track: forgets the digest.
    void begin(std::string const& path);
    void event(int event, const void* data, unsigned int size);
    void pcm(const void* data, unsigned int bytes);
    /// A title that a radio station put beside its sound.
    void title(std::string const& text);
    /// After the close event.
    void end();
    /// 0, or the errno of the first line that could not be written.
    int error() const;

private:
    void write(std::string const& text);

    int const m_descriptor;
    bool const m_withBufferFill;
    mutable std::mutex m_lock; ///< guards everything below
    boost::crc_32_type m_crc;
    unsigned long long m_bytes = 0;
    unsigned long long m_blocks = 0;
    int m_error = 0;
};

}} // namespace avr::player
