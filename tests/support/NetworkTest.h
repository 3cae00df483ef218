#pragma once

#include "HttpStream.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

#include <sys/syscall.h>
#include <unistd.h>

namespace avr { namespace test {

using host::HttpStream;
using host::NetworkLimits;
using std::chrono::milliseconds;

constexpr int Failed = -10002, NotSupported = -10005, End = -10101, NothingYet = -10103;

/// Nothing runs out of time, and nothing waits to connect again.
inline NetworkLimits patient()
{
    return {std::chrono::minutes(10), std::chrono::minutes(10), milliseconds(1)};
}

/// What reads have given, and why there is no more.
struct Reading {
    std::string bytes;
    int result = 0;
};
inline Reading readUpTo(Avr::Interface::IReadableStream& stream, std::size_t bytes)
{
    Reading all;
    std::string room(60000, '\0');
    while (all.result >= 0 && all.bytes.size() < bytes) {
        auto const want =
            static_cast<unsigned int>(std::min(room.size(), bytes - all.bytes.size()));
        unsigned int got = 0;
        all.result = stream.Read(room.data(), want, &got);
        EXPECT_EQ(got != 0, all.result == 0);
        all.bytes.append(room, 0, got);
    }
    return all;
}
inline Reading readAll(Avr::Interface::IReadableStream& stream)
{
    return readUpTo(stream, std::string::npos);
}

inline std::string length(Avr::Interface::IReadableStream& stream)
{
    std::string value = "as it was";
    stream.GetStreamProperty(HttpStream::ContentLength, value);
    return value;
}

/// Closes a stream again and again while it lives, after times that differ.
class Closer {
public:
    explicit Closer(host::NetworkStream& stream)
        : m_thread([this, &stream] {
              for (int round = 0; !m_isOver; ++round) {
                  stream.Close();
                  std::this_thread::sleep_for(std::chrono::microseconds(round % 50 * 40));
              }
          })
    {}
    ~Closer()
    {
        m_isOver = true;
        m_thread.join();
    }

private:
    std::atomic<bool> m_isOver{false};
    std::thread m_thread;
};

/// After each test no thread and no descriptor is left.
class NetworkTest : public testing::Test {
protected:
    NetworkTest()
    {
        ::setenv("no_proxy", "*", 1);
        // What libcurl and a sanitizer keep for good.
        endedThread();
        HttpStream unreadable("nothing://", patient());
        EXPECT_EQ(unreadable.Open(), Failed);
        m_threads = entries("/proc/self/task");
        m_descriptors = entries("/proc/self/fd");
    }
    ~NetworkTest() override
    {
        HttpStream::waitForAbandoned();
        EXPECT_TRUE(eventually([this] { return entries("/proc/self/task") == m_threads; }));
        EXPECT_EQ(entries("/proc/self/fd"), m_descriptors);
    }
    /// Its entry is gone, too: that may take longer than the join, in an emulator most of all.
    static void endedThread()
    {
        std::atomic<long> id{0};
        std::thread([&id] { id = ::syscall(SYS_gettid); }).join();
        std::string const entry = "/proc/self/task/" + std::to_string(id);
        EXPECT_TRUE(eventually([&entry] { return !std::filesystem::exists(entry); }));
    }
    static long entries(const char* directory)
    {
        return std::distance(std::filesystem::directory_iterator(directory), {});
    }

private:
    long m_threads = 0, m_descriptors = 0;
};

}} // namespace avr::test
