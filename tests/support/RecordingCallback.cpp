#include "RecordingCallback.h"

#include <algorithm>
#include <cstring>

namespace avr { namespace test {

using namespace kiv::appli;
using Lock = std::unique_lock<std::mutex>;

namespace {
constexpr std::chrono::seconds Patience(20);
}

int RecordingCallback::OnSample(const void* pcm, unsigned int bytes, TimeSpec* duration)
{
    {
        Lock lock(m_lock);
        auto const* first = static_cast<const std::uint8_t*>(pcm);
        m_pcm.insert(m_pcm.end(), first, first + bytes);
        m_blocks.push_back(bytes);
        m_duration = *duration;
        m_came.notify_all();
    }
    return onSample ? onSample() : 0;
}

int RecordingCallback::OnEvent(int event, void* data, unsigned int size)
{
    // Recorded when the hook is through, so that a test that waited may change the hooks.
    struct Recorder {
        ~Recorder() { callback.record(event, data, size); }
        RecordingCallback& callback;
        int event;
        void* data;
        unsigned int size;
    } const recorder{*this, event, data, size};
    if (onEvent)
        onEvent(event);
    return 0;
}

void RecordingCallback::record(int event, void* data, unsigned int size)
{
    Lock lock(m_lock);
    if (event == EventBufferStatus)
        m_fills.push_back(*static_cast<int*>(data));
    else
        m_events.push_back(event);
    if (event == EventStreamInfo && size == sizeof m_info)
        std::memcpy(&m_info, data, sizeof m_info);
    if (event == EventPosition && size == sizeof m_position)
        std::memcpy(&m_position, data, sizeof m_position);
    if (event == EventTrackInfo && size == 8)
        m_titles.push_back(*static_cast<PdtTrackInfo*>(data));
    m_came.notify_all();
}

bool RecordingCallback::waitFor(int event, int times)
{
    Lock lock(m_lock);
    return m_came.wait_for(lock, Patience, [&] {
        return std::count(m_events.begin(), m_events.end(), event) >= times;
    });
}

bool RecordingCallback::waitForSample()
{
    Lock lock(m_lock);
    return m_came.wait_for(lock, Patience, [&] { return !m_blocks.empty(); });
}

void RecordingCallback::clear()
{
    Lock lock(m_lock);
    m_events.clear();
    m_fills.clear();
    m_pcm.clear();
    m_blocks.clear();
    m_titles.clear();
}

std::vector<int> RecordingCallback::events() const
{
    Lock lock(m_lock);
    return m_events;
}

int RecordingCallback::count(int event) const
{
    Lock lock(m_lock);
    return static_cast<int>(std::count(m_events.begin(), m_events.end(), event));
}

Bytes RecordingCallback::pcm() const
{
    Lock lock(m_lock);
    return m_pcm;
}

std::vector<unsigned int> RecordingCallback::blocks() const
{
    Lock lock(m_lock);
    return m_blocks;
}

TimeSpec RecordingCallback::lastDuration() const
{
    Lock lock(m_lock);
    return m_duration;
}

DecoderStreamInfo RecordingCallback::info() const
{
    Lock lock(m_lock);
    return m_info;
}

TimeSpec RecordingCallback::position() const
{
    Lock lock(m_lock);
    return m_position;
}

std::vector<int> RecordingCallback::fills() const
{
    Lock lock(m_lock);
    return m_fills;
}

std::vector<PdtTrackInfo> RecordingCallback::titles() const
{
    Lock lock(m_lock);
    return m_titles;
}

}} // namespace avr::test
