#include "Player.h"

#include "Text.h"

#include "stream/Address.h"
#include "stream/MmsStream.h"

#include <algorithm>
#include <cstdlib>

#include <unistd.h>

namespace avr { namespace player {

namespace {

/// The library's log and the events would run into a status line.
Display::Style styleOf(Options const& options, int descriptor)
{
    if (options.quiet)
        return Display::Style::Errors;
    const char* const terminal = std::getenv("TERM");
    bool const isPlain = terminal && std::string(terminal) == "dumb";
    bool const live = isatty(descriptor) && !isPlain && !options.verbose && !options.events;
    return live ? Display::Style::Live : Display::Style::Lines;
}

} // namespace

Player::Player(Options const& options, StandardOutputs const& outputs)
    : m_options(options), m_outputs(outputs), m_signals(m_wakeup),
      m_display(outputs.err(), styleOf(options, outputs.err()))
{
    for (std::string const& file : options.files)
        m_entries.push_back({file, {}, nullptr});
}

int Player::play()
{
    if (!openOutput())
        return NoOutput;
    if (m_options.events) {
        bool const pcmOnOut = m_options.output.kind == OutputChoice::Kind::StandardOutput;
        m_log = std::make_unique<EventLog>(pcmOnOut ? m_outputs.err() : m_outputs.out(),
                                           m_options.verbose);
    }
    std::vector<std::string> const& files = m_options.files;
    bool const hearsInput = std::find(files.begin(), files.end(), "-") != files.end();
    m_keys = std::make_unique<Keys>(hearsInput);
    playAll();
    m_keys.reset();
    closeOutput();
    if (m_log && m_log->error() != 0)
        textLost(m_log->error());
    return exitCode();
}

int Player::probe()
{
    std::size_t i = 0;
    while (i < m_entries.size() && !m_signals.interrupted()) {
        Found const found = findFor(m_entries[i].address, m_options, m_wakeup, m_signals);
        if (expand(i, found))
            continue;
        if (!say(probeSource(found, m_wakeup, m_signals)))
            break;
        ++i;
    }
    return exitCode();
}

/// @return false when nothing more can be said
bool Player::say(Probe const& probe)
{
    if (!probe.error.empty()) {
        m_failed = true;
        m_display.error(probe.path + ": " + probe.error);
    }
    int error = 0;
    if (m_options.json)
        error = writeText(m_outputs.out(), probeJson(probe));
    else if (probe.error.empty())
        error = writeText(m_outputs.out(), probeText(probe));
    if (error != 0)
        textLost(error);
    return error == 0;
}

/// Puts a list's entries into its place.
/// @return false when it is no list
bool Player::expand(std::size_t entry, Found const& found)
{
    if (found.list.empty())
        return false;
    auto const list = std::make_shared<Entry const>(m_entries[entry]);
    auto const at = m_entries.erase(m_entries.begin() + std::ptrdiff_t(entry));
    std::vector<Entry> entries;
    bool isWhole = true;
    for (host::PlayListEntry const& it : found.list) {
        bool const fits = m_listed < host::MostPlayListEntries && mayHold(list, it.address);
        isWhole = isWhole && fits;
        if (fits)
            entries.push_back({it.address, it.title, list});
        m_listed += fits;
    }
    m_entries.insert(at, entries.begin(), entries.end());
    if (!isWhole) {
        m_failed = true;
        m_display.error(host::withoutPassword(list->address) +
                        ": play lists that name each other, or too many; not all is played");
    }
    return true;
}

/// A list that names itself, or another one around it, would never end.
bool Player::mayHold(std::shared_ptr<Entry const> list, std::string const& address)
{
    constexpr int MostDepth = 4;
    int depth = 0;
    for (; list; list = list->within, ++depth)
        if (list->address == address)
            return false;
    return depth <= MostDepth;
}

void Player::textLost(int error)
{
    m_failed = true;
    m_display.error("standard output: " + errnoText(error));
}

bool Player::openOutput()
{
    if (m_options.output.kind == OutputChoice::Kind::StandardOutput && m_outputs.outWasClosed()) {
        m_display.error("standard output is closed; redirect it, or give -o raw:FILE");
        return false;
    }
    Output output = makeOutput(m_options.output, m_options.pacing, m_outputs.out());
    if (!output.sink) {
        m_display.error(output.line);
        return false;
    }
    m_display.notice(output.line);
    host::SoundDevice::instance().setSink(std::move(output.sink));
    return true;
}

void Player::playAll()
{
    std::size_t i = 0;
    while (i < m_entries.size() && !m_signals.interrupted()) {
        switch (playEntry(i)) {
        case TrackEnd::Failed:
            m_failed = true;
            ++i;
            break;
        case TrackEnd::Played:
        case TrackEnd::Next:
            ++i;
            break;
        case TrackEnd::Previous:
            i -= i > 0;
            break;
        case TrackEnd::Again:
            break;
        case TrackEnd::OutputLost:
            m_failed = true;
            return;
        case TrackEnd::Quit:
        case TrackEnd::Interrupted:
            return;
        }
    }
}

TrackEnd Player::playEntry(std::size_t entry)
{
    std::string const address = m_entries[entry].address, shown = host::withoutPassword(address);
    Stage const stage{
        m_options,  host::SoundDevice::instance(), m_display, *m_keys, m_signals, m_wakeup,
        m_log.get()};
    Found found;
    if (std::optional<TrackEnd> const end = search(address, stage, found)) {
        m_display.clearStatus();
        return *end;
    }
    if (!found.error.empty()) {
        m_display.error(shown + ": " + found.error);
        return TrackEnd::Failed;
    }
    if (expand(entry, found))
        return TrackEnd::Again;
    found.source.listTitle = m_entries[entry].title;
    return playSource(found.source, stage);
}

/// A media server may go on with another file, which is another run.
TrackEnd Player::playSource(Source source, Stage const& stage)
{
    for (;;) {
        TrackEnd const end = Session(source, stage).run();
        m_display.clearStatus();
        auto* const mms = dynamic_cast<host::MmsStream*>(source.network.get());
        boost::shared_ptr<host::MmsStream> const next =
            mms && end == TrackEnd::Played ? mms->takeNext() : nullptr;
        if (!next)
            return end;
        source.stream = source.network = next;
    }
}

void Player::closeOutput()
{
    host::SoundDevice& device = host::SoundDevice::instance();
    std::string const told = device.failure();
    std::string error;
    if (device.closeSink(error))
        return;
    m_failed = true;
    if (error != told)
        m_display.error("the output is not complete: " + error);
}

int Player::exitCode() const
{
    if (m_signals.interrupted())
        return WasInterrupted;
    return m_failed ? TrackFailed : AllPlayed;
}

}} // namespace avr::player
