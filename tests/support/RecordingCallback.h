#pragma once

#include "ScriptedStream.h"
#include "decoder/IDecoderCallback.h"
#include "decoder/PdtTrackInfo.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

namespace avr { namespace test {

/// A player's callback that keeps what it got and lets a test wait for it. A hook runs inside the
/// callback, on its thread, without a lock.
class RecordingCallback final : public kiv::appli::IDecoderCallback {
public:
    int OnSample(const void* pcm, unsigned int bytes, kiv::appli::TimeSpec* duration) override;
    int OnEvent(int event, void* data, unsigned int size) override;

    /// @return whether the event came, at all and so often, within twenty seconds
    bool waitFor(int event, int times = 1);
    bool waitForSample();
    void clear();

    /// What came, without event 8 (its values depend on timing).
    std::vector<int> events() const;
    int count(int event) const;
    Bytes pcm() const;
    std::vector<unsigned int> blocks() const; ///< sizes
    kiv::appli::TimeSpec lastDuration() const;
    kiv::appli::DecoderStreamInfo info() const; ///< of the last event 2
    kiv::appli::TimeSpec position() const;      ///< of the last event 10
    std::vector<int> fills() const;             ///< of every event 8
    std::vector<PdtTrackInfo> titles() const;   ///< of every event 7

    std::function<void(int)> onEvent;
    std::function<int()> onSample;

private:
    void record(int event, void* data, unsigned int size);

    mutable std::mutex m_lock; ///< guards what follows
    std::condition_variable m_came;
    std::vector<int> m_events;
    std::vector<int> m_fills;
    Bytes m_pcm;
    std::vector<unsigned int> m_blocks;
    kiv::appli::TimeSpec m_duration{};
    kiv::appli::DecoderStreamInfo m_info{};
    kiv::appli::TimeSpec m_position{};
    std::vector<PdtTrackInfo> m_titles;
};

}} // namespace avr::test
