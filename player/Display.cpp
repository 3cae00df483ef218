#include "Display.h"

#include "Text.h"

#include <algorithm>

#include <sys/ioctl.h>
#include <unistd.h>

namespace avr { namespace player {

namespace {

constexpr std::size_t WidestBar = 30;
constexpr std::size_t NarrowestBar = 8;
constexpr std::size_t DefaultColumns = 80;

const char* stateText(Status::State state)
{
    switch (state) {
    case Status::State::Connecting:
        return "connecting";
    case Status::State::Opening:
        return "opening";
    case Status::State::Waiting:
        return "waiting for data";
    case Status::State::Reconnecting:
        return "reconnecting";
    case Status::State::Playing:
        return "playing";
    case Status::State::Paused:
        return "paused ";
    }
    return "";
}

std::string durationText(double seconds) { return seconds > 0 ? timeText(seconds) : "--:--"; }

std::string formatText(TrackInfo const& info)
{
    return std::to_string(info.pcm.rate) + " Hz, " + std::to_string(info.bits) + " bits, " +
           std::to_string(info.pcm.channels) + (info.pcm.channels == 1 ? " channel" : " channels");
}

/// Nothing when the room is too small or the duration unknown.
std::string barText(Status const& status, std::size_t room)
{
    if (status.info.duration <= 0 || room < NarrowestBar + 4)
        return {};
    std::size_t const cells = std::min(room - 4, WidestBar);
    double const part = std::min(std::max(status.elapsed / status.info.duration, 0.0), 1.0);
    auto const done = static_cast<std::size_t>(part * double(cells));
    return "  [" + std::string(done, '=') + std::string(cells - done, ' ') + ']';
}

} // namespace

std::string statusText(Status const& status, std::size_t columns)
{
    std::string const head = std::string(stateText(status.state)) + "  " +
                             timeText(status.elapsed) + " / " + durationText(status.info.duration);
    std::string tail;
    if (status.bufferFill >= 0 && status.bufferFill < 100)
        tail += "  buffer " + std::to_string(status.bufferFill) + '%';
    if (!status.title.empty()) // before the format, which stands in the track's line, too
        tail += "  " + printable(status.title);
    if (status.info.pcm.rate != 0)
        tail += "  " + status.info.codec + ", " + formatText(status.info);
    std::size_t const used = head.size() + tail.size();
    // What is left of the bar's room when all the rest is shown, or the least that makes a bar.
    std::size_t const room = std::max(columns > used ? columns - used : 0, NarrowestBar + 4);
    bool const barFits = columns >= head.size() + room;
    return cutToColumns(head + (barFits ? barText(status, room) : "") + tail, columns);
}

void Display::error(std::string const& text) { line("avrplay: " + printable(text)); }

void Display::track(std::string const& path, TrackInfo const& info)
{
    if (m_style == Style::Errors)
        return;
    if (!m_notice.empty())
        line("avrplay: " + printable(m_notice));
    m_notice.clear();
    line("Playing " + printable(path) + ": " + printable(info.codec) + ", " + formatText(info) +
         ", " + durationText(info.duration));
}

void Display::remark(std::string const& text)
{
    if (m_style != Style::Errors)
        line("avrplay: " + printable(text));
}

void Display::event(std::string const& text)
{
    if (m_style == Style::Lines)
        line("avrplay: " + printable(text));
}

void Display::status(Status const& status)
{
    if (!live() || isInBackground())
        return;
    auto const now = std::chrono::steady_clock::now();
    std::string const text = statusText(status, columns() - 1);
    bool const early =
        !m_shown.empty() && status.state == m_shownState && now - m_shownAt < Refresh;
    m_late = early && text != m_shown;
    if (early || text == m_shown)
        return;
    writeText(m_descriptor, '\r' + text + "\x1b[K");
    m_shown = text;
    m_shownState = status.state;
    m_shownAt = now;
}

void Display::clearStatus()
{
    if (!m_shown.empty())
        writeText(m_descriptor, "\r\x1b[K");
    m_shown.clear();
    m_late = false;
}

void Display::line(std::string const& text)
{
    clearStatus();
    writeText(m_descriptor, text + '\n');
}

/// The terminal is somebody else's now.
bool Display::isInBackground() const
{
    pid_t const foreground = tcgetpgrp(m_descriptor);
    return foreground > 0 && foreground != getpgrp();
}

std::size_t Display::columns() const
{
    winsize size{};
    if (ioctl(m_descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return DefaultColumns;
    return size.ws_col;
}

}} // namespace avr::player
