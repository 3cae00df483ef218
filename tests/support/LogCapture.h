#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace avr { namespace test {

/// Takes what is written to a descriptor (standard error, say) while it lives.
class LogCapture {
public:
    explicit LogCapture(int descriptor = STDERR_FILENO)
        : m_descriptor(descriptor), m_saved(dup(descriptor)), m_file(std::tmpfile())
    {
        std::fflush(nullptr);
        dup2(fileno(m_file), m_descriptor);
    }
    ~LogCapture()
    {
        std::fflush(nullptr);
        dup2(m_saved, m_descriptor);
        close(m_saved);
        std::fclose(m_file);
    }
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;

    std::string text() const
    {
        std::fflush(nullptr);
        std::string all(static_cast<std::size_t>(lseek(fileno(m_file), 0, SEEK_END)), '\0');
        ssize_t const got = pread(fileno(m_file), &all[0], all.size(), 0);
        all.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
        return all;
    }
    /// Whether the lines of `what` came in this order; another thread's may stand between them.
    bool has(std::string const& what) const
    {
        std::string const all = text();
        std::size_t found = 0;
        for (std::size_t line = 0; line < what.size() && found != std::string::npos;) {
            std::size_t const end = std::min(what.find('\n', line), what.size() - 1) + 1;
            found = all.find(what.substr(line, end - line), found);
            if (found != std::string::npos)
                found += end - line;
            line = end;
        }
        return found != std::string::npos;
    }

private:
    int const m_descriptor;
    int const m_saved;
    std::FILE* const m_file;
};

}} // namespace avr::test
