#pragma once

#include "Signals.h"
#include "SourceFinder.h"
#include "Track.h"

#include <string>

namespace avr { namespace player {

/// What --probe finds in one file.
struct Probe {
    std::string path;
    std::string format;
    std::string error; ///< empty: `info` is set
    TrackInfo info;
};

/// Finds what stands at an address. An interruption ends it with an error.
Found findFor(std::string const& address, Options const& options, Wakeup const& wakeup,
              Signals const& signals);
/// Opens what was found as far as its format. An interruption ends it with an error.
Probe probeSource(Found const& found, Wakeup const& wakeup, Signals const& signals);

/// For people, and one JSON object in one line.
std::string probeText(Probe const& probe);
std::string probeJson(Probe const& probe);

/// What --formats prints.
std::string formatsText();

}} // namespace avr::player
