#include "Options.h"

#include "Text.h"

#include <CLI/CLI.hpp>

#include <sys/stat.h>
#include <unistd.h>

namespace avr { namespace player {

namespace {

using kiv::appli::TimeSpec;

constexpr unsigned long MaxRate = 768000;
constexpr unsigned long MaxChannels = 32;

/// The options that are text on the command line and something else in Options.
struct Texts {
    std::string output;
    std::string pcm;
    std::string start;
    std::string timeout;
    bool probe = false;
    bool formats = false;
    bool help = false;
    bool version = false;
    bool realtime = false;
    bool fast = false;
};

void declare(CLI::App& app, Options& options, Texts& texts)
{
    app.set_help_flag(); // ours prints its own text
    app.allow_extras();  // the files: a positional option would take the name "[a,b]" apart
    app.add_option("-o,--output", texts.output)->take_last();
    app.add_option("-f,--format", options.format)->take_last();
    app.add_option("--pcm", texts.pcm)->take_last();
    app.add_option("--start", texts.start)->take_last();
    app.add_option("--timeout", texts.timeout)->take_last();
    auto* realtime = app.add_flag("--realtime", texts.realtime);
    app.add_flag("--no-realtime", texts.fast)->excludes(realtime);
    app.add_flag("--probe", texts.probe);
    app.add_flag("--json", options.json);
    app.add_flag("--events", options.events);
    app.add_flag("--formats", texts.formats);
    app.add_flag("-q,--quiet", options.quiet);
    app.add_flag("-v,--verbose", options.verbose);
    app.add_flag("--version", texts.version);
    app.add_flag("-h,--help", texts.help);
}

/// What was no option is a file, but for a word that looks like an option before a "--".
bool takeFiles(std::vector<std::string> const& rest, Options& options, std::string& error)
{
    bool onlyFiles = false;
    for (std::string const& word : rest) {
        if (!onlyFiles && word == "--") {
            onlyFiles = true;
            continue;
        }
        if (!onlyFiles && word.size() > 1 && word[0] == '-') {
            error = "unknown option " + word + "; avrplay --help lists the options";
            return false;
        }
        options.files.push_back(word);
    }
    return true;
}

/// The digits before the next colon, or to the end when `last`. 0 when there is no such number.
unsigned long nextField(std::string& text, bool last)
{
    std::size_t const colon = text.find(':');
    if ((colon == std::string::npos) != last)
        return 0;
    std::string const field = text.substr(0, colon);
    text.erase(0, last ? colon : colon + 1);
    if (field.empty() || field.size() > 9 ||
        field.find_first_not_of("0123456789") != std::string::npos)
        return 0;
    return std::stoul(field);
}

bool parsePcm(std::string text, host::PcmFormat& pcm, std::string& error)
{
    std::string const given = text;
    unsigned long const rate = nextField(text, false);
    unsigned long const bits = nextField(text, false);
    unsigned long const channels = nextField(text, true);
    if (rate == 0 || rate > MaxRate || bits == 0 || channels == 0 || channels > MaxChannels)
        error = "--pcm " + given + ": give RATE:BITS:CHANNELS, for example 44100:16:2";
    else if (bits != 16)
        error = "--pcm " + given + ": headerless PCM is played with 16 bits only";
    pcm = {static_cast<std::uint32_t>(rate), static_cast<std::uint16_t>(channels), 2};
    return error.empty();
}

Options::Task taskOf(Texts const& texts, bool json)
{
    if (texts.help)
        return Options::Task::ShowHelp;
    if (texts.version)
        return Options::Task::ShowVersion;
    if (texts.formats)
        return Options::Task::ListFormats;
    return texts.probe || json ? Options::Task::Probe : Options::Task::Play;
}

bool takeTexts(Texts const& texts, Options& options, std::string& error)
{
    options.task = taskOf(texts, options.json);
    options.format = lowerCase(options.format);
    options.startGiven = !texts.start.empty();
    if (texts.realtime || texts.fast)
        options.pacing = texts.fast ? Pacing::AsFastAsPossible : Pacing::Realtime;
    if (!texts.output.empty() && !parseOutput(texts.output, options.output)) {
        error = "-o " + texts.output +
                ": give alsa[:DEVICE], wav:FILE, raw:FILE, raw:- (standard output) or null";
        return false;
    }
    if (options.startGiven && !parseTime(texts.start, options.start)) {
        error = "--start " + texts.start + ": give seconds, mm:ss or hh:mm:ss, for example 1:30";
        return false;
    }
    TimeSpec timeout{};
    if (!texts.timeout.empty() && (!parseTime(texts.timeout, timeout) || toSeconds(timeout) < 0.1 ||
                                   timeout.seconds > 3600)) {
        error = "--timeout " + texts.timeout + ": give seconds, for example 20";
        return false;
    }
    if (!texts.timeout.empty())
        options.timeout = std::chrono::milliseconds(long(toSeconds(timeout) * 1000));
    if (texts.pcm.empty())
        return true;
    if (options.format.empty())
        options.format = "lpcm";
    return parsePcm(texts.pcm, options.pcm, error);
}

/// An output file that is one of the inputs would be emptied before it is read.
bool wouldOverwrite(std::string const& output, std::string const& input)
{
    struct stat a {
    }, b{};
    return stat(output.c_str(), &a) == 0 && stat(input.c_str(), &b) == 0 && S_ISREG(a.st_mode) &&
           a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool makesSense(Options const& options, std::string& error)
{
    using Kind = OutputChoice::Kind;
    if (options.task != Options::Task::Play && options.task != Options::Task::Probe)
        return true;
    if (options.files.empty()) {
        error = "no file given; avrplay --help says how to use it";
        return false;
    }
    if (options.task == Options::Task::Probe)
        return true;
    if (options.output.kind == Kind::StandardOutput && isatty(STDOUT_FILENO))
        error = "-o raw:- does not write to a terminal; send standard output somewhere";
    if (options.output.kind == Kind::WavFile || options.output.kind == Kind::RawFile)
        for (std::string const& file : options.files)
            if (wouldOverwrite(options.output.name, file))
                error = "-o would overwrite the input " + file + "; name another file";
    return error.empty();
}

} // namespace

bool parseOptions(int argc, char** argv, Options& options, std::string& error)
{
    CLI::App app;
    Texts texts;
    declare(app, options, texts);
    try {
        app.parse(argc, argv);
    } catch (CLI::Error const& fault) {
        error = std::string(fault.what()) + "; avrplay --help lists the options";
        return false;
    }
    return takeFiles(app.remaining(), options, error) && takeTexts(texts, options, error) &&
           makesSense(options, error);
}

}} // namespace avr::player
