#include "Track.h"

#include "FileHead.h"
#include "Text.h"

#include "decoder/PdtTrackInfo.h"

#include <cstring>
#include <limits>

namespace avr { namespace player {

namespace {

using namespace kiv::appli;

int setNumber(IDecoder& decoder, DecoderPropTypeBase::Value type, unsigned int number)
{
    std::string text = std::to_string(number);
    return decoder.SetProperty(static_cast<int>(type), text);
}

} // namespace

Track::Track(Source const& source, host::SoundDevice* device, EventLog* log, Wakeup const& wakeup)
    : m_source(source), m_device(device), m_log(log), m_wakeup(wakeup),
      m_seeker([this](TimeSpec const& position) { makeSeek(position); })
{}

Track::~Track() { close(); }

bool Track::open() { return m_source.decoder->Open(m_source.stream, this) == 0; }

// A seek of headerless PCM goes by the format that the decoder settles when it begins to play, so
// there the first block makes it.
void Track::start(TimeSpec const& position)
{
    bool const fromBeginning = toSeconds(position) <= 0;
    if (!fromBeginning && !canReach(position))
        return refuseStart();
    m_startAfterSeek = !fromBeginning && !m_source.isHeaderless();
    if (m_startAfterSeek)
        return seek(position);
    m_firstPosition = position;
    m_seekFirst = !fromBeginning;
    m_source.decoder->Start(); // refused when the run has ended meanwhile; that is told by event 1
}

bool Track::canReach(TimeSpec const& position) const
{
    double const last = news().info.lastPosition;
    return m_source.canSeek() && last > 0 && toSeconds(position) <= last;
}

void Track::seek(TimeSpec const& position)
{
    if (canReach(position))
        m_seeker.request(news().info.time.from(position));
}

/// @param position  as the decoder counts
/// @return whether it has moved
bool Track::moveTo(TimeSpec const& position)
{
    if (m_source.decoder->Seek(position) != 0)
        return false;
    if (m_source.format == "wma") // it sends no event 10
        dropQueue(position);
    m_clock.moved();
    return true;
}

/// The seeking thread's work.
void Track::makeSeek(TimeSpec const& position)
{
    bool const moved = moveTo(position);
    if (!m_startAfterSeek)
        return;
    m_startAfterSeek = false;
    if (moved)
        m_source.decoder->Start();
    else
        refuseStart();
}

void Track::refuseStart()
{
    {
        std::lock_guard<std::mutex> const guard(m_lock);
        m_news.startRefused = true;
    }
    m_wakeup.post();
}

void Track::pause(bool paused)
{
    m_device->pause(paused);
    if (paused)
        m_source.decoder->Pause(); // refused once all is decoded: then only the output pauses
    else
        m_source.decoder->Resume();
}

void Track::close()
{
    m_seeker.cancel();
    m_source.decoder->Close(); // lets a seek in progress return
    m_seeker.finish();
}

TrackNews Track::news() const
{
    std::lock_guard<std::mutex> const guard(m_lock);
    return m_news;
}

double Track::elapsed() const
{
    std::optional<TimeSpec> const target = m_seeker.target();
    return target ? toSeconds(news().info.time.toTrack(*target))
                  : m_clock.seconds(m_device->bytesTaken());
}

int Track::OnSample(const void* pcm, unsigned int bytes, TimeSpec*)
{
    if (m_seekFirst.exchange(false)) {
        if (moveTo(m_firstPosition))
            return 0;
        refuseStart();
        return ErrorFailed;
    }
    if (m_log)
        m_log->pcm(pcm, bytes);
    if (!m_device)
        return ErrorFailed;
    if (m_source.network)
        noteTitle();
    bool const first = m_clock.bytesDelivered() == 0;
    m_clock.delivered(bytes);
    if (first)
        m_wakeup.post(); // now it plays
    return m_device->put(m_shift == 0 ? pcm : fullScale(pcm, bytes), bytes);
}

void Track::noteTitle()
{
    while (std::optional<std::string> title = m_source.network->newTitle()) {
        std::lock_guard<std::mutex> const guard(m_lock);
        m_titles.push_back({std::move(*title), m_clock.bytesDelivered()});
    }
}

std::optional<std::string> Track::newTitle()
{
    unsigned long long const heard = m_device->bytesTaken();
    std::lock_guard<std::mutex> const guard(m_lock);
    if (m_titles.empty() || m_titles.front().from > heard)
        return {};
    std::string title = std::move(m_titles.front().text);
    m_titles.pop_front();
    return title;
}

const void* Track::fullScale(const void* pcm, unsigned int bytes)
{
    m_scaled.resize(bytes / sizeof m_scaled[0] + 1); // a damaged stream can have other blocks
    std::memcpy(m_scaled.data(), pcm, bytes);
    for (std::uint32_t& sample : m_scaled)
        sample <<= m_shift;
    return m_scaled.data();
}

int Track::OnEvent(int event, void* data, unsigned int size)
{
    ++m_events;
    if (m_log)
        m_log->event(event, data, size);
    if (event == EventStreamInfo)
        onOpened(*static_cast<DecoderStreamInfo*>(data));
    else if (event == EventPosition && m_device)
        dropQueue(*static_cast<TimeSpec*>(data));
    else
        note(event, data);
    m_wakeup.post();
    return 0;
}

/// What the output still has belongs to where the decoder was before a seek.
/// @param position  as the decoder counts
void Track::dropQueue(TimeSpec const& position)
{
    m_device->discard();
    m_clock.dropped(m_device->bytesTaken(), news().info.time.toTrack(position));
}

void Track::onOpened(DecoderStreamInfo const& streamInfo)
{
    std::string error;
    if (m_source.isHeaderless() && !setHeaderlessFormat())
        error = "the decoder refuses this --pcm format";
    TrackInfo const info = describe(streamInfo, error);
    m_shift = info.shift;
    if (error.empty() && m_device)
        error = prepareOutput(info);
    std::lock_guard<std::mutex> const guard(m_lock);
    m_news.opened = true;
    m_news.info = info;
    m_news.error = error;
}

void Track::note(int event, const void* data)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    switch (event) {
    case EventClosed:
        m_news.closed = true;
        break;
    case EventEndOfStream:
        m_news.decodedAll = true;
        m_news.starved = m_source.isStarved();
        break;
    case EventBufferStatus:
        m_news.bufferFill = *static_cast<const int*>(data);
        break;
    case EventTrackInfo: {
        auto const& found = *static_cast<const PdtTrackInfo*>(data);
        m_news.title = found.artist + (found.artist.empty() ? "" : " - ") + found.title;
        break;
    }
    case EventRunFailed:
    case EventOpenFailed:
    case EventOpenFailedByStream:
        m_news.failure = event;
        m_news.starved = m_source.isStarved();
        break;
    default:
        break;
    }
}

bool Track::setHeaderlessFormat()
{
    IDecoder& decoder = *m_source.decoder;
    return setNumber(decoder, DecoderPropTypeBase::SampleRate, m_source.pcm.rate) == 0 &&
           setNumber(decoder, DecoderPropTypeBase::BitsPerSample,
                     8U * m_source.pcm.bytesPerSample) == 0 &&
           setNumber(decoder, DecoderPropTypeBase::Channels, m_source.pcm.channels) == 0;
}

TrackInfo Track::describe(DecoderStreamInfo const& streamInfo, std::string& error) const
{
    TrackInfo info;
    m_source.decoder->GetProperty(static_cast<int>(DecoderPropTypeBase::CodecName), info.codec);
    if (m_source.isHeaderless()) { // event 2 brings the decoder's default, whatever was set
        info.pcm = m_source.pcm;
        info.bits = 8U * info.pcm.bytesPerSample;
        info.bitRate = bytesPerSecond(info.pcm) * 8;
        info.duration = m_source.length() / bytesPerSecond(info.pcm);
        info.lastPosition = std::numeric_limits<double>::infinity();
        return info;
    }
    tWAVEFORMAT format{};
    if (m_source.decoder->GetWaveFormat(format) != 0) // WMA
        format = streamInfo.format;
    if (std::string const complaint = takeRecords(streamInfo, format, info); !complaint.empty())
        error = complaint;
    if (streamInfo.codecId == CodecMp3 && info.bitRate > 0) // it counts from the file's first byte
        info.time.offset = id3v2Bytes(m_source.head) * 8 / info.bitRate;
    if (streamInfo.codecId == CodecAac)
        describeAac(info);
    if (streamInfo.codecId == CodecWmaStandard || streamInfo.codecId == CodecWmaLossless)
        info.duration = m_source.asfSeconds;
    return info;
}

/// Only MP4 files seek. The decoder counts their frames as if they had the rate that it delivers.
void Track::describeAac(TrackInfo& info) const
{
    std::uint32_t const rate = m_source.mp4Rate;
    if (rate == 0 || info.pcm.rate == 0)
        info.lastPosition = 0;
    else
        info.time.scale = double(rate) / info.pcm.rate;
}

std::string Track::prepareOutput(TrackInfo const& info)
{
    std::string error;
    m_clock.begin(bytesPerSecond(info.pcm));
    if (!m_device->beginRun(info.pcm, error))
        return error;
    return {};
}

}} // namespace avr::player
