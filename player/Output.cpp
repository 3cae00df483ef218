#include "Output.h"

namespace avr { namespace player {

namespace {

using Kind = OutputChoice::Kind;

constexpr const char* DefaultDevice = "default";

host::Pace paceOf(Kind kind, Pacing pacing)
{
    if (pacing == Pacing::ByOutput)
        pacing = kind == Kind::Null ? Pacing::Realtime : Pacing::AsFastAsPossible;
    return pacing == Pacing::Realtime ? host::Pace::Realtime : host::Pace::AsFastAsPossible;
}

Output makeAlsaOutput(std::string const& device)
{
    if (host::alsaDeviceUsable(device))
        return {host::makeAlsaSink(device), {}};
    return {nullptr, "no sound device \"" + device +
                         "\" can be opened; aplay -L lists the names, -o null plays without one"};
}

Output makeBestOutput(Pacing pacing)
{
    if (host::alsaDeviceUsable(DefaultDevice))
        return {host::makeAlsaSink(DefaultDevice), {}};
    return {host::makeNullSink(paceOf(Kind::Null, pacing)),
            "no sound device can be opened, playing in silence (-o null)"};
}

/// The library's log has these by the time an output is opened: opening them would write nowhere.
bool isStandardDescriptor(std::string const& name)
{
    for (const char* folder : {"/dev/fd/", "/proc/self/fd/"})
        for (const char* number : {"1", "2"})
            if (name == std::string(folder) + number)
                return true;
    return name == "/dev/stdout" || name == "/dev/stderr";
}

} // namespace

bool parseOutput(std::string const& text, OutputChoice& choice)
{
    std::size_t const colon = text.find(':');
    std::string const type = text.substr(0, colon);
    std::string const name = colon == std::string::npos ? "" : text.substr(colon + 1);
    bool const named = !name.empty() && !isStandardDescriptor(name);
    if (type == "alsa" && (named || colon == std::string::npos))
        choice = {Kind::Alsa, named ? name : DefaultDevice};
    else if (type == "wav" && named && name != "-")
        choice = {Kind::WavFile, name};
    else if (type == "raw" && named)
        choice = {name == "-" ? Kind::StandardOutput : Kind::RawFile, name};
    else if (text == "null")
        choice = {Kind::Null, {}};
    else
        return false;
    return true;
}

Output makeOutput(OutputChoice const& choice, Pacing pacing, int standardOutput)
{
    host::Pace const pace = paceOf(choice.kind, pacing);
    switch (choice.kind) {
    case Kind::Alsa:
        return makeAlsaOutput(choice.name);
    case Kind::WavFile:
        return {host::makeWavFileSink(choice.name, pace), {}};
    case Kind::RawFile:
        return {host::makeRawFileSink(choice.name, pace), {}};
    case Kind::StandardOutput:
        return {host::makeRawDescriptorSink(standardOutput, "standard output", pace), {}};
    case Kind::Null:
        return {host::makeNullSink(pace), {}};
    case Kind::Best:
        break;
    }
    return makeBestOutput(pacing);
}

}} // namespace avr::player
