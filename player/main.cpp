#include "Player.h"
#include "StandardOutputs.h"
#include "Text.h"

#include "decoder/DecoderFactory.h"

#include <exception>

#include <unistd.h>

using namespace avr::player;

namespace {

void sayError(int descriptor, std::string const& error)
{
    writeText(descriptor, "avrplay: " + printable(error) + '\n');
}

/// @param error  what writeText answered
int toldOrNot(int descriptor, int error)
{
    if (error != 0)
        sayError(descriptor, "standard output: " + errnoText(error));
    return error == 0 ? AllPlayed : TrackFailed;
}

int runTask(Options const& options, StandardOutputs const& outputs)
{
    Avr::Decoder::InitDecoder();
    if (!options.format.empty() && !Avr::Decoder::LookupFromFormat(options.format)) {
        sayError(outputs.err(),
                 "-f " + options.format + ": no such decoder; avrplay --formats lists them");
        return WrongUsage;
    }
    if (options.task == Options::Task::ListFormats) {
        return toldOrNot(outputs.err(), writeText(outputs.out(), formatsText()));
    }
    Player player(options, outputs);
    return options.task == Options::Task::Probe ? player.probe() : player.play();
}

/// The standard outputs stay moved to the end of the process: what the library has not yet printed
/// then comes out of its buffers.
int useLibrary(Options const& options)
{
    StandardOutputs const outputs(options.verbose);
    try {
        return runTask(options, outputs);
    } catch (std::exception const& fault) {
        sayError(outputs.err(), fault.what());
        return TrackFailed;
    }
}

} // namespace

int main(int argc, char** argv)
{
    StandardOutputs::fillGaps();
    try {
        Options options;
        std::string error;
        if (!parseOptions(argc, argv, options, error)) {
            sayError(STDERR_FILENO, error);
            return WrongUsage;
        }
        if (options.task != Options::Task::ShowHelp && options.task != Options::Task::ShowVersion)
            return useLibrary(options);
        bool const help = options.task == Options::Task::ShowHelp;
        return toldOrNot(STDERR_FILENO,
                         writeText(STDOUT_FILENO, help ? HelpText : "avrplay " AVR_VERSION "\n"));
    } catch (std::exception const& fault) {
        sayError(STDERR_FILENO, fault.what());
        return TrackFailed;
    }
}
