#pragma once

#include "platform/IReadableStream.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace tiny {

/// Input that lies in memory. Nothing in it waits, so Close has nothing to end.
class AVR_API MemoryStream final : public Avr::Interface::IReadableStream {
public:
    explicit MemoryStream(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {}

    int IsOpened() override;
    int Open() override;
    void Close() override { m_open = false; }
    int Read(void* buf, unsigned int len, unsigned int* got) override;
    int GetCapabilities() override { return CanSeekByte; }
    int SeekByte(long long offset) override;
    int SeekTime(double seconds) override;
    int GetStreamProperty(int key, std::string& value) override;
    int GetErrorStatus() override { return m_error; }

private:
    std::vector<std::uint8_t> const m_bytes;
    std::size_t m_at = 0; ///< Open, Read and SeekByte come from one thread at a time
    std::atomic<bool> m_open{false};
    std::atomic<int> m_error{0}; ///< set where there is no input at all
};

} // namespace tiny
