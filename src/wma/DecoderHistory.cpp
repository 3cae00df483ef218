#include "DecoderHistory.h"

#include <algorithm>

namespace kiv { namespace appli {

using Guard = std::lock_guard<std::mutex>;

DecoderHistory& DecoderHistory::instance()
{
    static DecoderHistory& history = *new DecoderHistory; // look-ups may come at any time
    return history;
}

void DecoderHistory::add(std::string const& name)
{
    Guard const guard(m_lock);
    if (m_historyQue.size() >= MostEntries)
        m_historyQue.pop_front();
    m_historyQue.push_back(name);
}

std::string DecoderHistory::firstKind() const
{
    Guard const guard(m_lock);
    if (m_historyQue.empty())
        return Standard;
    std::string const& last = m_historyQue.back();
    return last == Standard || last == Lossless ? last : majorityLocked();
}

std::string DecoderHistory::majority() const
{
    Guard const guard(m_lock);
    return majorityLocked();
}

std::string DecoderHistory::majorityLocked() const
{
    auto const count = [this](const char* kind) {
        return std::count(m_historyQue.begin(), m_historyQue.end(), kind);
    };
    return count(Lossless) < count(Standard) ? Standard : Lossless;
}

std::size_t DecoderHistory::size() const
{
    Guard const guard(m_lock);
    return m_historyQue.size();
}

void DecoderHistory::clear()
{
    Guard const guard(m_lock);
    m_historyQue.clear();
}

}} // namespace kiv::appli
