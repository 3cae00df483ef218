#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

inline void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A fuzzer's bytes, for readers that ask for exactly so many and stop at the first failure.
struct ExactInput {
    ExactInput(const std::uint8_t* bytes, std::size_t count)
        : data(bytes), size(std::min<std::size_t>(count, 8192)) // more of the same is only slower
    {}

    bool read(std::uint8_t* to, std::size_t bytes)
    {
        require(!failed && bytes != 0);
        failed = size - at < bytes;
        std::copy_n(data + at, failed ? 0 : bytes, to);
        at += failed ? 0 : bytes;
        return !failed;
    }
    /// A frame has to lie in what was read, behind the one before.
    void expect(const std::uint8_t* frame, std::size_t bytes)
    {
        behind = std::search(behind, data + at, frame, frame + bytes) + bytes;
        require(behind <= data + at);
    }

    const std::uint8_t* const data;
    std::size_t const size;
    std::size_t at = 0;
    bool failed = false;
    const std::uint8_t* behind = data;
};
