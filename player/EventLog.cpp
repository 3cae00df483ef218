#include "EventLog.h"

#include "Text.h"

#include "decoder/IDecoderCallback.h"
#include "decoder/PdtTrackInfo.h"

#include <cinttypes>
#include <cstdio>

namespace avr { namespace player {

namespace {

using namespace kiv::appli;

std::string streamInfoText(DecoderStreamInfo const& info)
{
    tWAVEFORMAT const& f = info.format;
    char text[320];
    std::snprintf(text, sizeof text,
                  "stream-info tag=%u channels=%u rate=%" PRIu32 " bytes-per-second=%" PRIu32
                  " align=%u bits=%u extra=%u valid-bits=%u mask=%" PRIu32 " codec=0x%08" PRIx32
                  " bit-rate=%" PRIu32 " word=%" PRIu32,
                  f.formatTag, f.channels, f.samplesPerSecond, f.averageBytesPerSecond,
                  f.blockAlign, f.bitsPerSample, f.extraSize, f.validBitsPerSample, f.channelMask,
                  info.codecId, info.bitRate, info.decoderWord);
    return text;
}

std::string positionText(TimeSpec const& position)
{
    char text[64];
    std::snprintf(text, sizeof text, "position %" PRIu32 ".%09" PRIu32, position.seconds,
                  position.nanoseconds);
    return text;
}

std::string eventText(int event, const void* data)
{
    switch (event) {
    case EventRunFailed:
        return "run-failed";
    case EventClosed:
        return "closed";
    case EventStreamInfo:
        return streamInfoText(*static_cast<const DecoderStreamInfo*>(data));
    case EventDecoding:
        return "decoding";
    case EventPaused:
        return "paused";
    case EventEndOfStream:
        return "end-of-stream";
    case EventTrackInfo: {
        auto const& info = *static_cast<const PdtTrackInfo*>(data);
        return "track-info artist=" + printable(info.artist) + " title=" + printable(info.title);
    }
    case EventBufferStatus:
        return "buffer-fill " + std::to_string(*static_cast<const int*>(data));
    case EventPosition:
        return positionText(*static_cast<const TimeSpec*>(data));
    case EventOpenFailed:
        return "open-failed";
    case EventOpenFailedByStream:
        return "open-failed-by-stream";
    default:
        return "unknown";
    }
}

} // namespace

EventLog::EventLog(int descriptor, bool withBufferFill)
    : m_descriptor(descriptor), m_withBufferFill(withBufferFill)
{}

void EventLog::begin(std::string const& path)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    m_crc.reset();
    m_bytes = 0;
    m_blocks = 0;
    write("track " + printable(path) + "\n");
}

void EventLog::event(int event, const void* data, unsigned int)
{
    if (event == EventBufferStatus && !m_withBufferFill)
        return;
    std::string const line = "event " + std::to_string(event) + ' ' + eventText(event, data) + '\n';
    std::lock_guard<std::mutex> const guard(m_lock);
    write(line);
}

void EventLog::title(std::string const& text)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    write("title " + printable(text) + '\n');
}

void EventLog::write(std::string const& text)
{
    int const error = writeText(m_descriptor, text);
    if (m_error == 0)
        m_error = error;
}

int EventLog::error() const
{
    std::lock_guard<std::mutex> const guard(m_lock);
    return m_error;
}

void EventLog::pcm(const void* data, unsigned int bytes)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    m_crc.process_bytes(data, bytes);
    m_bytes += bytes;
    ++m_blocks;
}

void EventLog::end()
{
    std::lock_guard<std::mutex> const guard(m_lock);
    char text[96];
    std::snprintf(text, sizeof text, "pcm bytes=%llu blocks=%llu crc32=0x%08lx\n", m_bytes,
                  m_blocks, static_cast<unsigned long>(m_crc.checksum()));
    write(text);
}

}} // namespace avr::player
