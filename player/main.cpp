#include "Player.h"
#include "StandardOutputs.h"
#include "Text.h"

#include "decoder/DecoderFactory.h"

#include <exception>

#include <unistd.h>

using namespace avr::player;

namespace {

int usageError(std::string const& error)
{
    writeText(STDERR_FILENO, "avrplay: " + printable(error) + '\n');
    return WrongUsage;
}

int runTask(Options const& options)
{
    StandardOutputs const outputs(options.verbose);
    Avr::Decoder::InitDecoder();
    if (!options.format.empty() && !Avr::Decoder::LookupFromFormat(options.format)) {
        writeText(outputs.err(), "avrplay: -f " + printable(options.format) +
                                     ": no such decoder; avrplay --formats lists them\n");
        return WrongUsage;
    }
    if (options.task == Options::Task::ListFormats) {
        writeText(outputs.out(), formatsText());
        return AllPlayed;
    }
    Player player(options, outputs);
    return options.task == Options::Task::Probe ? player.probe() : player.play();
}

} // namespace

int main(int argc, char** argv)
{
    StandardOutputs::fillGaps();
    Options options;
    std::string error;
    try {
        if (!parseOptions(argc, argv, options, error))
            return usageError(error);
        if (options.task == Options::Task::ShowHelp)
            writeText(STDOUT_FILENO, kHelpText);
        else if (options.task == Options::Task::ShowVersion)
            writeText(STDOUT_FILENO, "avrplay " AVR_VERSION "\n");
        else
            return runTask(options);
    } catch (std::exception const& fault) {
        writeText(STDERR_FILENO, std::string("avrplay: ") + fault.what() + '\n');
        return TrackFailed;
    }
    return AllPlayed;
}
