#include "Session.h"

#include "Explain.h"
#include "Text.h"

#include <utility>

namespace avr { namespace player {

namespace {

constexpr double SeekStep = 10;     ///< seconds
constexpr double PreviousUntil = 3; ///< seconds
constexpr int DrainPoll = 20;       ///< ms; the output does not tell when it has played everything
constexpr int OpeningPoll = 500;    ///< ms; an opening that takes longer is shown
constexpr int UntilSomethingHappens = -1;
constexpr int WatchPoll = 1000;                 ///< ms
constexpr std::chrono::seconds LongSilence(30); ///< beside what the network may take

} // namespace

Session::Session(Source const& source, Stage const& stage)
    : m_source(source), m_stage(stage), m_track(source, &stage.device, stage.log, stage.wakeup),
      m_network(source.network),
      m_watchdog(LongSilence + 2 * stage.options.timeout, std::chrono::steady_clock::now())
{}

TrackEnd Session::run()
{
    if (m_stage.log)
        m_stage.log->begin(m_source.path);
    if (!m_track.open())
        fail("the decoder cannot be started; try again");
    takeKeys();
    while (!m_end) {
        m_stage.wait(waitMilliseconds());
        if (!m_stage.goesOn())
            m_end = TrackEnd::Interrupted;
        takeKeys();
        if (!m_end)
            onNews();
        if (!m_end)
            onNetwork();
        if (!m_end)
            watch();
        if (!m_end)
            showStatus();
    }
    m_track.close();
    if (m_end != TrackEnd::Played)
        m_stage.device.stop();
    if (m_stage.log)
        m_stage.log->end();
    return *m_end;
}

int Session::waitMilliseconds() const
{
    if (m_news.closed && !m_paused)
        return DrainPoll;
    if (m_stage.display.late())
        return int(Display::Refresh.count());
    if (m_paused)
        return UntilSomethingHappens;
    if (!m_stage.display.live())
        return WatchPoll;
    return m_announced ? int(Display::Refresh.count()) : OpeningPoll;
}

void Session::takeKeys()
{
    while (!m_end) {
        std::optional<Key> const key = m_stage.keys.next();
        if (!key)
            return;
        onKey(*key);
    }
}

void Session::onKey(Key key)
{
    switch (key) {
    case Key::Quit:
        m_end = TrackEnd::Quit;
        break;
    case Key::Next:
        m_end = TrackEnd::Next;
        break;
    case Key::Previous:
        m_end =
            m_started && m_track.elapsed() >= PreviousUntil ? TrackEnd::Again : TrackEnd::Previous;
        break;
    case Key::Pause:
        if (m_started)
            m_track.pause(m_paused = !m_paused);
        break;
    case Key::Back:
        seekBy(-SeekStep);
        break;
    case Key::Forward:
        seekBy(SeekStep);
        break;
    }
}

// A run that has ended is no longer asked for anything; what the output still has goes on.
void Session::onNews()
{
    m_news = m_track.news();
    if (!m_news.error.empty())
        return fail(m_news.error);
    if (m_news.startRefused)
        return fail("cannot start at " + timeText(toSeconds(m_stage.options.start)) + ": " +
                    (canBePositioned() ? "it ends before, or cannot be positioned there"
                                       : whyNotPositioned() + "; leave out --start"));
    if (m_news.opened && !m_started)
        begin();
    if (!m_end)
        announce();
    if (!m_end && m_news.closed && playedOut())
        conclude();
}

void Session::begin()
{
    double const start = toSeconds(m_stage.options.start);
    double const duration = m_news.info.duration;
    // Decoders report whole seconds: up to one more may be there.
    if (duration > 0 && start >= duration + 1 && !m_news.info.durationIsGuess)
        return fail("ends at " + timeText(duration) + ", before --start " + timeText(start));
    m_started = true;
    m_track.start(m_stage.options.start);
}

bool Session::canBePositioned() const { return m_source.canSeek() && m_news.info.lastPosition > 0; }

std::string Session::whyNotPositioned() const
{
    if (!m_source.canSeek())
        return "its input cannot be positioned";
    if (m_source.format == "aac")
        return "of this format only MP4 files can be positioned";
    if (m_source.format == "wma")
        return "a lossless file plays from the beginning only";
    return m_source.format + " plays from the beginning only";
}

/// Says what is played, once there is something.
void Session::announce()
{
    if (m_announced || m_track.bytesDelivered() == 0)
        return;
    m_announced = true;
    m_stage.display.track(m_source.path, m_news.info);
}

void Session::seekBy(double seconds)
{
    TrackInfo const& info = m_news.info;
    if (!m_started || m_news.closed)
        return;
    if (!canBePositioned()) {
        if (!std::exchange(m_saidWhyNot, true))
            m_stage.display.remark(m_source.path + ": " + whyNotPositioned());
        return;
    }
    double const target = m_track.elapsed() + seconds;
    if (seconds > 0 && info.duration > 0 && target >= info.duration && !info.durationIsGuess)
        m_end = TrackEnd::Next;
    else
        m_track.seek(toTimeSpec(target));
}

void Session::onNetwork()
{
    std::string const words = m_paused ? std::string() : m_network.newWords(isHeard());
    if (!words.empty())
        m_stage.display.event(m_source.path + ": " + words);
    takeTitles();
}

void Session::takeTitles()
{
    while (std::optional<std::string> const title = m_track.newTitle()) {
        m_radioTitle = *title;
        if (m_stage.log)
            m_stage.log->title(*title);
        if (!title->empty())
            m_stage.display.event("Title: " + *title);
    }
}

bool Session::isHeard() const
{
    constexpr std::chrono::seconds Pause(1);
    return std::chrono::steady_clock::now() - m_heardAt < Pause;
}

/// A run that neither delivers nor reports for long will not do so any more.
void Session::watch()
{
    auto const now = std::chrono::steady_clock::now();
    unsigned long long const heard = m_stage.device.bytesTaken();
    if (heard != m_heard)
        m_heardAt = now;
    m_heard = heard;
    if (m_paused)
        m_watchdog.rest(now);
    else if (m_watchdog.isSilent(m_track.bytesDelivered() + heard + m_track.events(), now))
        fail("nothing has come for " + std::to_string(m_watchdog.limit().count()) +
             " seconds; given up");
}

void Session::showStatus()
{
    using State = Status::State;
    if (!m_stage.display.live())
        return;
    State state = m_paused ? State::Paused : m_network.state(isHeard());
    if (state == State::Playing && !m_announced)
        state = State::Opening;
    m_stage.display.status(
        {state, m_started ? m_track.elapsed() : 0, m_news.bufferFill, m_news.info, title()});
}

/// The nearer it is to the sound, the better it knows.
std::string const& Session::title() const
{
    if (!m_radioTitle.empty())
        return m_radioTitle;
    return m_news.title.empty() ? m_source.listTitle : m_news.title;
}

/// The last event only means that the decoder has finished: the output may still be playing.
bool Session::playedOut()
{
    if (!m_news.opened)
        return true;
    if (!m_stage.device.getEofMark())
        m_stage.device.putEofMark(true);
    return m_stage.device.isPlaybackCompleted();
}

void Session::conclude()
{
    takeTitles();
    std::string const output = m_news.opened ? m_stage.device.failure() : std::string();
    if (!output.empty()) {
        m_stage.display.error("the output failed: " + output);
        m_end = TrackEnd::OutputLost; // the next track would fare no better
        return;
    }
    std::string const reason = fault();
    if (!reason.empty())
        return fail(reason);
    m_end = TrackEnd::Played;
}

/// Why a run that is over did not play its track, or nothing.
std::string Session::fault() const
{
    if (m_news.starved && m_source.stream->GetErrorStatus() == 0)
        return std::string(m_track.bytesDelivered() != 0 ? "ended early: " : "") +
               "the server sent nothing for too long; try again later";
    if (!m_news.decodedAll)
        return explainFailure(m_source, m_news.failure, m_news.opened);
    if (m_source.stream->GetErrorStatus() != 0) // which the decoder took for the end
        return "ended early: " + m_source.streamFault();
    if (m_track.bytesDelivered() != 0)
        return {};
    return m_stage.options.startGiven
               ? "ends before --start " + timeText(toSeconds(m_stage.options.start))
               : "too short: there is not one whole block of audio in it";
}

void Session::fail(std::string const& reason)
{
    m_stage.display.error(m_source.path + ": " + reason);
    m_end = TrackEnd::Failed;
}

}} // namespace avr::player
