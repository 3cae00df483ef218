#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace avr { namespace test {

/// The search for a title's marker as the plainest state machine, byte by byte.
class PlainScan {
public:
    /// @return what stands behind the marker, when it ends in this block
    std::vector<std::uint8_t> rest(const std::uint8_t* data, std::size_t size)
    {
        static const std::uint8_t marker[] = {'T', 0, 'E', 0, 'X', 0, 'T', 0, 0, 0};
        for (std::size_t at = 0; at < size; ++at) {
            if (!m_matching) {
                m_matching = data[at] == marker[0];
                m_index = 1;
            } else if (data[at] != marker[m_index]) {
                m_matching = false;
            } else if (m_index == sizeof marker - 1) {
                return {data + at + 1, data + size};
            } else {
                ++m_index;
            }
        }
        return {};
    }

private:
    bool m_matching = false;
    std::size_t m_index = 0;
};

}} // namespace avr::test
