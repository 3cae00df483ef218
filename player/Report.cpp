#include "Report.h"

#include "Explain.h"
#include "Text.h"

#include "decoder/DecoderFactory.h"
#include "platform/MimeTable.h"
#include "stream/Address.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <set>

#include <poll.h>

namespace avr { namespace player {

namespace {

/// The formats in the order of the library's own list.
struct Format {
    const char* name;
    const char* seeking;
};
constexpr const char* ByTime = "seeks by time";
constexpr const char* Nowhere = "cannot seek: plays from the beginning only";
constexpr const char* OnlyMp4 = "MP4 files seek by time, others play from the beginning only";
constexpr const char* OnlyStandard = "seeks by time, but not in lossless files";
constexpr Format Formats[] = {{"lpcm", ByTime},    {"wav", ByTime},  {"wav-testmode", ByTime},
                              {"ogg", Nowhere},    {"flac", ByTime}, {"wma", OnlyStandard},
                              {"he-aac", Nowhere}, {"aac", OnlyMp4}, {"mp3", ByTime}};

void waitFor(Wakeup const& wakeup)
{
    pollfd posted = {wakeup.descriptor(), POLLIN, 0};
    poll(&posted, 1, -1);
    wakeup.clear();
}

/// Waits until the format is known or the run is over.
TrackNews waitForFormat(Track const& track, Wakeup const& wakeup, Signals const& signals)
{
    TrackNews news = track.news();
    while (!news.opened && !news.closed && !signals.interrupted()) {
        waitFor(wakeup);
        news = track.news();
    }
    return news;
}

void openAndAsk(Source const& source, Wakeup const& wakeup, Signals const& signals, Probe& probe)
{
    Track track(source, nullptr, nullptr, wakeup);
    if (!track.open()) {
        probe.error = "the decoder cannot be started; try again";
        return;
    }
    TrackNews const news = waitForFormat(track, wakeup, signals);
    track.close();
    probe.info = news.info;
    probe.error = news.error;
    if (!news.opened)
        probe.error = news.closed ? explainFailure(source, news.failure, false) : "interrupted";
}

std::string row(const char* name, std::string const& value)
{
    std::string label = std::string("  ") + name;
    label.resize(13, ' ');
    return label + value + '\n';
}

std::string bitRateText(double bitRate)
{
    if (bitRate <= 0)
        return "unknown";
    return std::to_string(std::lround(bitRate / 1000)) + " kbit/s";
}

/// "a, b, c", each once, wrapped at 80 columns under the first.
std::string listText(std::vector<std::string> const& items, std::size_t indent)
{
    std::string text;
    std::size_t column = indent;
    for (std::size_t i = 0; i < items.size(); ++i) {
        std::string const item = items[i] + (i + 1 < items.size() ? "," : "");
        if (i > 0 && column + 1 + item.size() > 79) {
            text += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (i > 0) {
            text += ' ';
            ++column;
        }
        text += item;
        column += item.size();
    }
    return text;
}

/// The rows of the platform's table for one format.
void collect(std::string const& format, std::vector<std::string>& types,
             std::vector<std::string>& endings)
{
    using namespace kiv::mimetype_ex;
    std::set<std::string> seen;
    for (unsigned int i = 0; i < MimeTypeInfoSize; ++i) {
        if (format != mimeinfo_list[i].format)
            continue;
        types.push_back(mimeinfo_list[i].mimeType);
        std::string const list = std::string(mimeinfo_list[i].extensions) + ',';
        for (std::size_t at = 0, end = 0; (end = list.find(',', at)) != std::string::npos;
             at = end + 1)
            if (end > at && seen.insert(list.substr(at, end - at)).second)
                endings.push_back("*." + list.substr(at, end - at));
    }
}

} // namespace

Found findFor(std::string const& address, Options const& options, Wakeup const& wakeup,
              Signals const& signals)
{
    SourceFinder finder(address, options, wakeup);
    while (!finder.isDone() && !signals.interrupted())
        waitFor(wakeup);
    if (finder.isDone())
        return finder.take();
    Found nothing;
    nothing.source.path = host::withoutPassword(address);
    nothing.error = "interrupted";
    return nothing;
}

Probe probeSource(Found const& found, Wakeup const& wakeup, Signals const& signals)
{
    Probe probe;
    probe.path = found.source.path;
    probe.format = found.source.format;
    probe.error = found.error;
    if (probe.error.empty())
        openAndAsk(found.source, wakeup, signals, probe);
    return probe;
}

std::string probeText(Probe const& probe)
{
    TrackInfo const& info = probe.info;
    return printable(probe.path) + '\n' + row("format", probe.format) +
           row("codec", printable(info.codec)) +
           row("rate", std::to_string(info.pcm.rate) + " Hz") +
           row("bits", std::to_string(info.bits)) +
           row("channels", std::to_string(info.pcm.channels)) +
           row("bit rate", bitRateText(info.bitRate)) +
           row("duration", info.duration > 0 ? timeText(info.duration) : "unknown");
}

std::string probeJson(Probe const& probe)
{
    nlohmann::ordered_json object;
    object["file"] = probe.path;
    if (!probe.error.empty()) {
        object["error"] = probe.error;
    } else {
        TrackInfo const& info = probe.info;
        object["format"] = probe.format;
        object["codec"] = info.codec;
        object["rate"] = info.pcm.rate;
        object["bits"] = info.bits;
        object["channels"] = info.pcm.channels;
        object["bitRate"] = nullptr;
        object["duration"] = nullptr;
        if (info.bitRate > 0)
            object["bitRate"] = std::llround(info.bitRate);
        if (info.duration > 0)
            object["duration"] = info.duration;
    }
    // A file name need not be UTF-8.
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

std::string formatsText()
{
    constexpr std::size_t Indent = 15;
    std::string text;
    for (Format const& format : Formats) {
        std::vector<std::string> types;
        std::vector<std::string> endings;
        collect(format.name, types, endings);
        std::string name = format.name;
        name.resize(Indent, ' ');
        text += name + format.seeking + '\n';
        if (!types.empty())
            text += "  MIME types   " + listText(types, Indent) + '\n';
        if (!endings.empty())
            text += "  file names   " + listText(endings, Indent) + '\n';
    }
    return text;
}

}} // namespace avr::player
