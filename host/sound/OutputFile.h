#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace avr { namespace host {

/// A file, pipe or device that is written in whole frames. No call blocks for more than some 50 ms
/// (but as long as the disk takes). Every failure is one line, "name: reason".
class OutputFile {
public:
    /// The path is opened by open().
    explicit OutputFile(std::string path) : m_name(std::move(path)) {}
    /// Writes there; the descriptor stays the caller's.
    OutputFile(int descriptor, std::string name);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    /// Begins the file afresh; a given descriptor goes on where it is.
    bool open(std::string& error);
    bool isOpen() const { return m_descriptor >= 0; }
    /// True when rewrite() works.
    bool canRewrite() const { return m_owned && m_regular; }

    /// @return bytes taken, whole frames; 0 when there is no room yet; negative on failure
    long write(const std::uint8_t* pcm, std::size_t bytes, std::size_t frameBytes,
               std::string& error);
    /// Queues a few bytes that go out before anything else.
    void append(const std::uint8_t* bytes, std::size_t count);
    /// Tries to write what was taken but not stored. @return false on failure
    bool flush(std::string& error);
    bool flushed() const { return m_rest.empty(); }
    /// Replaces bytes at the beginning.
    bool rewrite(const std::uint8_t* bytes, std::size_t count, std::string& error);
    bool close(std::string& error);

    /// Bytes that the file has.
    std::uint64_t stored() const { return m_stored; }
    std::string const& name() const { return m_name; }

private:
    long writeSome(const std::uint8_t* bytes, std::size_t count, std::string& error);
    bool hasRoom(int milliseconds) const;
    bool report(int code, std::string& error) const;

    std::string m_name;
    int m_descriptor = -1;
    bool m_owned = true;
    bool m_regular = false;
    std::uint64_t m_stored = 0;
    std::vector<std::uint8_t> m_rest; ///< taken, not stored yet
};

}} // namespace avr::host
