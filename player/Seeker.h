#pragma once

#include "decoder/WaveFormat.h"

#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace avr { namespace player {

/// Seeks on a thread of its own, since a decoder may take its time: for data to come, or for its
/// open to end. One seek at a time; of those asked for meanwhile only the latest is made.
class Seeker {
public:
    using Position = kiv::appli::TimeSpec;
    using Seek = std::function<void(Position const&)>;

    explicit Seeker(Seek seek) : m_seek(std::move(seek)) {}
    ~Seeker() { finish(); }
    Seeker(Seeker const&) = delete;
    Seeker& operator=(Seeker const&) = delete;

    // All of these are for one thread, the main loop's.

    void request(Position const& position);
    /// Where it will be once all is done that was asked for; nothing when that is so.
    std::optional<Position> target() const;
    /// Drops what has not begun.
    void cancel();
    /// Waits for the seek in progress, so that must have been made to return.
    void finish();

private:
    void run();

    Seek const m_seek;
    std::thread m_thread;           ///< while there is something to do, or done and not yet joined
    mutable std::mutex m_lock;      ///< guards everything below
    std::optional<Position> m_now;  ///< in progress
    std::optional<Position> m_next; ///< to be made after it
};

}} // namespace avr::player
