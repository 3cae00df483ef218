#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <thread>

/// A directory that is gone with the test.
class TempDir {
public:
    TempDir()
    {
        std::string name = (std::filesystem::temp_directory_path() / "avr-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("no temporary directory");
        m_path = name;
    }
    ~TempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;

    std::string file(std::string const& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

inline void store(std::string const& path, std::string const& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string contentOf(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Generous, for machines that are busy; a test that passes does not wait so long.
template <typename Condition>
bool eventually(Condition const& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
