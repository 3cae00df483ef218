#pragma once

#include "Signals.h"
#include "Source.h"
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

/// Opens the file as far as its format. An interruption ends it with an error.
Probe probeFile(std::string const& path, Options const& options, Wakeup const& wakeup,
                Signals const& signals);

/// For people, and one JSON object in one line.
std::string probeText(Probe const& probe);
std::string probeJson(Probe const& probe);

/// What --formats prints.
std::string formatsText();

}} // namespace avr::player
