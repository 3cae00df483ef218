#pragma once

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdlib.h>
#include <string>
#include <thread>

/// A directory that is gone with the test.
class TempDir {
public:
    TempDir() { m_path = ::mkdtemp(m_path.data()); }
    ~TempDir() { std::filesystem::remove_all(m_path); }
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;

    std::string file(std::string const& name) const { return m_path + '/' + name; }

private:
    std::string m_path = std::filesystem::temp_directory_path() / "avr-XXXXXX";
};

inline void store(std::string const& path, std::string const& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string contentOf(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// Generous, for machines that are busy; a test that passes does not wait so long.
template <typename Condition>
bool eventually(Condition const& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    bool met = false;
    while (!(met = condition()) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return met;
}

inline std::string noise(std::size_t bytes)
{
    std::string text(bytes, '\0');
    std::generate(text.begin(), text.end(),
                  [random = std::mt19937(1)]() mutable { return char(random()); });
    return text;
}
