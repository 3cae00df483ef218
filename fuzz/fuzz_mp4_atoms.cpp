// The head of an MP4 file: it is found within bounds, and a reduced head stays as it is.
#include "Mp4Atoms.h"

#include <algorithm>
#include <cstdlib>

using namespace avr::host;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::size_t at = 0;
    Mp4Input input(
        [&](std::uint8_t* to, std::size_t bytes) {
            if (at > size || bytes > size - at)
                return false;
            std::copy_n(data + at, bytes, to);
            at += bytes;
            return true;
        },
        [&](std::uint64_t position) {
            at = size % 2 != 0 ? std::size_t(position) : at;
            return size % 2 != 0;
        });
    std::vector<std::uint8_t> head = readMp4Head(input);
    if (head.size() > size)
        std::abort();
    if (head.empty() || !reduceMp4Head(head))
        return 0;
    std::vector<std::uint8_t> const reduced = head;
    if (!reduceMp4Head(head) || head != reduced)
        std::abort();
    return 0;
}
