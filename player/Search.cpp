#include "Search.h"

namespace avr { namespace player {

namespace {

std::optional<TrackEnd> endBy(Key key)
{
    switch (key) {
    case Key::Quit:
        return TrackEnd::Quit;
    case Key::Next:
        return TrackEnd::Next;
    case Key::Previous:
        return TrackEnd::Previous;
    default:
        return {};
    }
}

std::optional<TrackEnd> wish(Stage const& stage)
{
    if (!stage.goesOn())
        return TrackEnd::Interrupted;
    std::optional<TrackEnd> end;
    while (!end) {
        std::optional<Key> const key = stage.keys.next();
        if (!key)
            break;
        end = endBy(*key);
    }
    return end;
}

} // namespace

std::optional<TrackEnd> search(std::string const& address, Stage const& stage, Found& found)
{
    // In a long list of what cannot be played nobody else listens.
    stage.wait(0);
    if (std::optional<TrackEnd> const end = wish(stage))
        return end;
    SourceFinder finder(address, stage.options, stage.wakeup);
    while (!finder.isDone()) {
        Status status;
        status.state = finder.network() ? Status::State::Connecting : Status::State::Opening;
        stage.display.status(status);
        stage.wait(stage.display.live() ? int(Display::Refresh.count()) : -1);
        if (std::optional<TrackEnd> const end = wish(stage))
            return end;
    }
    found = finder.take();
    return {};
}

}} // namespace avr::player
