#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

namespace kiv { namespace appli {

/// What was played or looked up lately, in the whole process: it says which kind of WMA a file is
/// likely to be. Any thread.
class DecoderHistory {
public:
    static constexpr const char* Standard = "wmastd";
    static constexpr const char* Lossless = "wmalsl";

    static DecoderHistory& instance();

    /// Appends a choice of decoder or the name of a format.
    void add(std::string const& name);
    /// The kind to be tried first: the last entry, or where that is neither, the majority.
    std::string firstKind() const;
    /// The kind that occurs more often; lossless when both do as often.
    std::string majority() const;
    std::size_t size() const;
    void clear();

private:
    static constexpr std::size_t MostEntries = 101;

    std::string majorityLocked() const;

    mutable std::mutex m_lock;
    std::deque<std::string> m_historyQue; ///< guarded by m_lock; the newest stands last
};

}} // namespace kiv::appli
