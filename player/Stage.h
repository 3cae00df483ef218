#pragma once

#include "Display.h"
#include "EventLog.h"
#include "Keys.h"
#include "Options.h"
#include "Signals.h"
#include "Wakeup.h"

#include "sound/SoundDevice.h"

namespace avr { namespace player {

/// What every track is played with. Lives longer than any of them.
struct Stage {
    Options const& options;
    host::SoundDevice& device;
    Display& display;
    Keys& keys;
    Signals& signals;
    Wakeup& wakeup;
    EventLog* log; ///< null: no --events

    /// Sleeps until there is news, a key, or the time is over; negative: without end.
    void wait(int milliseconds) const;
    /// Looks at the signals. @return false when the program is to end
    bool goesOn() const;
};

/// How a track ended, or what the listener wants instead of it.
enum class TrackEnd { Played, Failed, OutputLost, Next, Previous, Again, Quit, Interrupted };

}} // namespace avr::player
