#pragma once

#include "platform/IReadableStream.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

namespace avr { namespace test {

using Bytes = std::vector<std::uint8_t>;

/// What a scripted stream does beside giving its bytes.
struct Script {
    enum class Fault { None, Error, End, RetryForever, Stall, Throw, TimedOut };

    Bytes data;
    unsigned int longestRead = 0; ///< bytes; 0 = as much as is asked for
    bool retryBeforeEach = false; ///< -10103 before each read that brings data
    bool knowsLength = true;
    int capabilities = Avr::Interface::IReadableStream::CanSeekByte;
    bool seeksFail = false;

    std::size_t retriesFrom = 0; ///< byte from which nothing comes until it is positioned; 0 = none

    int faultAtRead = -1; ///< index of the read that has the fault; -1 = none
    Fault fault = Fault::None;
    bool faultPasses = false; ///< once the stream was closed
    bool openFails = false;
    bool openStalls = false;   ///< until Close
    bool ignoresClose = false; ///< it stays open
    const char* address = "scripted";
    const char* type = "local";
};

/// A stream in memory that follows a script and notes what breaks the contract: it is opened, read
/// and positioned by one thread at a time, and only while it is open.
class ScriptedStream final : public Avr::Interface::IReadableStream {
public:
    explicit ScriptedStream(Script script) : m_script(std::move(script)) {}

    int IsOpened() override;
    int Open() override;
    void Close() override;
    int Read(void* buf, unsigned int len, unsigned int* got) override;
    int GetCapabilities() override { return m_script.capabilities; }
    int SeekByte(long long offset) override;
    int SeekTime(double seconds) override;
    int GetStreamProperty(int key, std::string& value) override;
    int GetErrorStatus() override { return m_error; }

    int reads() const { return m_reads; }
    int closes() const { return m_closes; }
    bool contractBroken() const { return m_contractBroken; }
    double lastTime() const { return m_lastTime; }
    /// The offset of the last SeekByte; -1 before.
    long long lastOffset() const { return m_lastOffset; }

private:
    class Alone;

    int failWith(Script::Fault fault);
    void stallUntilClosed();

    Script const m_script;
    std::mutex m_lock; ///< guards m_open and m_offset
    std::condition_variable m_closed;
    bool m_open = false;
    std::size_t m_offset = 0;
    std::atomic<bool> m_retried{false};
    std::atomic<bool> m_moved{false};
    std::atomic<int> m_reads{0};
    std::atomic<int> m_closes{0};
    std::atomic<int> m_error{0};
    std::atomic<bool> m_contractBroken{false};
    std::atomic<int> m_inside{0};
    std::atomic<long long> m_lastOffset{-1};
    std::atomic<double> m_lastTime{-1};
};

}} // namespace avr::test
