#pragma once

#include "Source.h"
#include "Wakeup.h"

#include "stream/PlayList.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace avr { namespace player {

/// What stands at an address.
struct Found {
    Source source;
    std::vector<host::PlayListEntry> list; ///< not empty: it is a play list, and no track
    std::string error;                     ///< not empty: it is neither, one line
};

/// Looks what stands at an address. That may take long for anything but a file, so a thread of its
/// own does it; a file is looked at in the constructor. Main loop only.
class SourceFinder {
public:
    SourceFinder(std::string address, Options const& options, Wakeup const& wakeup);
    /// Gives up what is not done.
    ~SourceFinder();
    SourceFinder(SourceFinder const&) = delete;

    /// The wakeup tells when.
    bool isDone() const { return m_isDone; }
    /// Once it is done.
    Found take();
    /// What is being opened; null: it is local.
    boost::shared_ptr<host::NetworkStream> network() const;

private:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    bool findFile(std::string const& path);
    void findStream();
    void lookAt(std::string const& mimeType, std::string const& base);
    bool takeList(std::string const& mimeType, std::string const& base);
    std::string wholeText();
    std::chrono::milliseconds patience() const;
    bool isLate() const;
    bool setCurrent(StreamPtr stream);

    std::string const m_address;
    Options const& m_options;
    Wakeup const& m_wakeup;
    Found m_found;             ///< the thread's, until it is done
    mutable std::mutex m_lock; ///< guards what follows
    StreamPtr m_current;       ///< what is being opened
    boost::shared_ptr<host::NetworkStream> m_network;
    bool m_givenUp = false;
    std::atomic<bool> m_isDone{false};
    std::thread m_thread;
};

}} // namespace avr::player
