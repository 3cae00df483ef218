#pragma once

#include "sound/ISoundSink.h"
#include "sound/Sinks.h"

#include <memory>
#include <string>

namespace avr { namespace player {

/// What -o names.
struct OutputChoice {
    enum class Kind { Best, Alsa, WavFile, RawFile, StandardOutput, Null };
    Kind kind = Kind::Best;
    std::string name; ///< ALSA device or file
};

/// @return false when the text is none of alsa[:DEVICE], wav:FILE, raw:FILE, raw:- and null
bool parseOutput(std::string const& text, OutputChoice& choice);

/// Whether an output without a clock is paced.
enum class Pacing { ByOutput, Realtime, AsFastAsPossible };

struct Output {
    std::unique_ptr<host::ISoundSink> sink; ///< null: no output, and `line` says why
    std::string line;                       ///< for the user, empty when all is as asked for
};

/// @param standardOutput  where raw:- writes
Output makeOutput(OutputChoice const& choice, Pacing pacing, int standardOutput);

}} // namespace avr::player
