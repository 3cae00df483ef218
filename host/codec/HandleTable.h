#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace avr { namespace host {

/// The engines of one codec, by an address of the caller's that stays the same while an engine is
/// used. The caller's areas hold no owner: they may be freed or overwritten without a word, and
/// some codecs have no call that ends their use. So what nobody has asked for the longest goes,
/// once there are too many. Any thread.
template <class Engine>
class HandleTable {
public:
    static constexpr std::size_t Limit = 64;

    /// The table of the process. It is never destroyed: nothing depends on the order of exits.
    static HandleTable& instance()
    {
        static HandleTable& table = *new HandleTable;
        return table;
    }

    /// Takes the place of the engine that was there.
    void put(void const* key, std::shared_ptr<Engine> engine)
    {
        std::vector<std::shared_ptr<Engine>> released; // freed when the lock is
        std::lock_guard<std::mutex> guard(m_lock);
        Entry& entry = m_entries[key];
        released.push_back(std::exchange(entry.engine, std::move(engine)));
        entry.lastUse = ++m_uses;
        while (m_entries.size() > Limit && releaseOldest(released))
            continue;
    }

    /// @return null when there is none
    std::shared_ptr<Engine> get(void const* key)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        auto const found = m_entries.find(key);
        if (found == m_entries.end())
            return nullptr;
        found->second.lastUse = ++m_uses;
        return found->second.engine;
    }

    void erase(void const* key)
    {
        std::shared_ptr<Engine> released;
        std::lock_guard<std::mutex> guard(m_lock);
        auto const found = m_entries.find(key);
        if (found == m_entries.end())
            return;
        released = std::move(found->second.engine);
        m_entries.erase(found);
    }

private:
    struct Entry {
        std::shared_ptr<Engine> engine;
        std::uint64_t lastUse = 0;
    };

    /// Keeps the newest. @return false when a call is under way in each of the others
    bool releaseOldest(std::vector<std::shared_ptr<Engine>>& released)
    {
        auto const lastUse = [this](auto const& entry) {
            return entry.second.engine.use_count() > 1 ? m_uses : entry.second.lastUse;
        };
        auto const oldest = std::min_element(
            m_entries.begin(), m_entries.end(),
            [&](auto const& one, auto const& other) { return lastUse(one) < lastUse(other); });
        if (lastUse(*oldest) == m_uses)
            return false;
        released.push_back(std::move(oldest->second.engine));
        m_entries.erase(oldest);
        return true;
    }

    std::mutex m_lock;
    std::map<void const*, Entry> m_entries; ///< guarded by m_lock, as is m_uses
    std::uint64_t m_uses = 0;
};

}} // namespace avr::host
