#include "Player.h"

#include "Text.h"

#include <unistd.h>

namespace avr { namespace player {

namespace {

/// The library's log and the events would run into a status line.
Display::Style styleOf(Options const& options, int descriptor)
{
    if (options.quiet)
        return Display::Style::Errors;
    bool const live = isatty(descriptor) && !options.verbose && !options.events;
    return live ? Display::Style::Live : Display::Style::Lines;
}

} // namespace

Player::Player(Options const& options, StandardOutputs const& outputs)
    : m_options(options), m_outputs(outputs), m_signals(m_wakeup),
      m_display(outputs.err(), styleOf(options, outputs.err()))
{}

int Player::play()
{
    if (!openOutput())
        return NoOutput;
    if (m_options.events) {
        bool const pcmOnOut = m_options.output.kind == OutputChoice::Kind::StandardOutput;
        m_log = std::make_unique<EventLog>(pcmOnOut ? m_outputs.err() : m_outputs.out(),
                                           m_options.verbose);
    }
    m_keys = std::make_unique<Keys>();
    playAll();
    m_keys.reset();
    closeOutput();
    if (m_log && m_log->error() != 0)
        textLost(m_log->error());
    return exitCode();
}

int Player::probe()
{
    for (std::string const& path : m_options.files) {
        if (m_signals.interrupted())
            break;
        Probe const found = probeFile(path, m_options, m_wakeup, m_signals);
        if (!found.error.empty()) {
            m_failed = true;
            m_display.error(path + ": " + found.error);
        }
        int error = 0;
        if (m_options.json)
            error = writeText(m_outputs.out(), probeJson(found));
        else if (found.error.empty())
            error = writeText(m_outputs.out(), probeText(found));
        if (error != 0) {
            textLost(error);
            break;
        }
    }
    return exitCode();
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
    std::vector<std::string> const& files = m_options.files;
    std::size_t i = 0;
    while (i < files.size() && !m_signals.interrupted()) {
        switch (playOne(files[i])) {
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

TrackEnd Player::playOne(std::string const& path)
{
    Source source;
    std::string error;
    if (!findSource(path, m_options, source, error)) {
        m_display.error(path + ": " + error);
        return TrackEnd::Failed;
    }
    Stage const stage{
        m_options,  host::SoundDevice::instance(), m_display, *m_keys, m_signals, m_wakeup,
        m_log.get()};
    TrackEnd const end = Session(source, stage).run();
    m_display.clearStatus();
    return end;
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
