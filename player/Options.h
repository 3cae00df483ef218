#pragma once

#include "Output.h"

#include "decoder/WaveFormat.h"
#include "sound/ISoundSink.h"

#include <chrono>
#include <string>
#include <vector>

namespace avr { namespace player {

/// What the command line asks for.
struct Options {
    enum class Task { Play, Probe, ListFormats, ShowHelp, ShowVersion };

    Task task = Task::Play;
    std::vector<std::string> files;
    OutputChoice output;
    Pacing pacing = Pacing::ByOutput;
    std::string format;               ///< lower case; empty: by name or content
    host::PcmFormat pcm{44100, 2, 2}; ///< of headerless PCM
    kiv::appli::TimeSpec start{0, 0};
    bool startGiven = false;
    std::chrono::milliseconds timeout{20000}; ///< for a server's answer, and for the next byte
    bool json = false;
    bool events = false;
    bool quiet = false;
    bool verbose = false;
};

/// @param error  receives one line for the user
/// @return false for wrong usage
bool parseOptions(int argc, char** argv, Options& options, std::string& error);

/// What --help prints.
extern const char* const HelpText;

}} // namespace avr::player
