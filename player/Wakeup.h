#pragma once

namespace avr { namespace player {

/// Wakes the main loop out of its poll: the decoder's callback and the signal handlers post, the
/// main loop polls the descriptor.
class Wakeup {
public:
    /// Throws std::system_error when there is no descriptor left.
    Wakeup();
    ~Wakeup();
    Wakeup(Wakeup const&) = delete;
    Wakeup& operator=(Wakeup const&) = delete;

    /// Any thread, also a signal handler.
    void post() const noexcept;
    /// Readable once something was posted.
    int descriptor() const { return m_ends[0]; }
    /// Main loop: forgets what was posted, before it looks at what has happened.
    void clear() const;

private:
    int m_ends[2];
};

}} // namespace avr::player
