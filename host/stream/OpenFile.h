#pragma once

#include <atomic>
#include <cstddef>
#include <string>

namespace avr { namespace host {

/// An open file descriptor that lives as long as somebody uses it. One thread reads and positions;
/// wakeReader comes from any other.
class OpenFile {
public:
    OpenFile() = default;
    ~OpenFile();
    OpenFile(OpenFile const&) = delete;
    OpenFile& operator=(OpenFile const&) = delete;

    /// Does not wait for the other end of a pipe. @return 0 or an errno
    int open(std::string const& path);
    /// Waits for data. @return bytes; 0 at the end; negative with `failure` set to an errno,
    /// ECANCELED after wakeReader
    long read(void* buffer, std::size_t bytes, int& failure);
    /// @return false when there is no such position, and nothing changed
    bool seek(long long offset);
    /// Bytes now; negative when this is no regular file.
    long long length() const;
    /// Ends a read in progress and all later ones. Once only.
    void wakeReader();

private:
    bool waitForData(int& failure) const;

    int m_file = -1;
    int m_wakeIn = -1; ///< no data ever: closing m_wakeOut makes it readable
    int m_wakeOut = -1;
    bool m_regular = false;
    std::atomic<bool> m_closed{false};
};

}} // namespace avr::host
