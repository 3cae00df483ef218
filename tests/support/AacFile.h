#pragma once

#include "Bits.h"
#include "Samples.h"

namespace avr { namespace test {

using host::BitWriter;
using Frames = std::vector<Bytes>;
using Fields = std::initializer_list<std::pair<unsigned int, unsigned int>>; ///< value, bits

/// Bytes begin to end - 1.
inline Bytes part(Bytes const& bytes, std::size_t begin, std::size_t end)
{
    return Bytes(bytes.begin() + long(begin), bytes.begin() + long(end));
}
inline Bytes blockOf(Bytes const& frame) { return part(frame, 7, frame.size()); }
/// An ADTS stream taken apart.
inline Frames framesOf(Bytes const& adts)
{
    Frames frames;
    for (std::size_t at = 0, size; at < adts.size(); at += size) {
        size = (adts[at + 3] & 3u) << 11 | unsigned(adts[at + 4]) << 3 | adts[at + 5] >> 5;
        frames.push_back(part(adts, at, at + size));
    }
    return frames;
}

/// A frame of several blocks. What is no length, count or block of it is like the first's.
inline Bytes oneFrame(Frames const& frames, std::size_t begin, std::size_t end, bool crc)
{
    std::size_t const blocks = std::min(end, frames.size()) - begin;
    Bytes frame = part(frames[begin], 0, 7);
    frame.resize(crc ? 7 + 2 * blocks : 7, 0xCC);
    for (std::size_t i = begin; i < begin + blocks; ++i) {
        append(frame, blockOf(frames[i]));
        frame.resize(frame.size() + (crc && blocks > 1 ? 2 : 0), 0xCC);
    }
    frame[1] = std::uint8_t(crc ? frame[1] & ~1u : frame[1]);
    frame[3] = std::uint8_t((frame[3] & ~3u) | frame.size() >> 11);
    frame[4] = std::uint8_t(frame.size() >> 3);
    frame[5] = std::uint8_t((frame[5] & 0x1Fu) | frame.size() << 5);
    frame[6] = std::uint8_t((frame[6] & ~3u) | (blocks - 1));
    return frame;
}

/// A program of one element, and a comment.
inline void putProgram(BitWriter& bits, unsigned int rateIndex, bool stereo, unsigned int comment)
{
    for (auto [value, count] : Fields{{1, 6}, {rateIndex, 4}, {1, 4}, {0, 20}, {stereo, 1}, {0, 4}})
        bits.put(value, count);
    bits.alignToByte();
    bits.put(comment, 8);
    for (; comment != 0; --comment)
        bits.put('c', 8);
}

/// The blocks of frames behind a header; the first program is theirs, and has the comment.
inline Bytes adif(Frames const& frames, unsigned int rateIndex, bool stereo, unsigned int programs,
                  unsigned int comment = 0)
{
    BitWriter bits;
    for (auto [value, count] : Fields{
             {0x41444946, 32}, {1, 1}, {'c', 32}, {'c', 32}, {'c', 8}, {0, 26}, {programs - 1, 4}})
        bits.put(value, count);
    for (unsigned int i = 0; i < programs; ++i) {
        bits.put(0, 20);
        putProgram(bits, i == 0 ? rateIndex : 3, stereo, i == 0 ? comment : 255);
    }
    Bytes file = bits.bytes();
    for (Bytes const& frame : frames)
        append(file, blockOf(frame));
    return file;
}

}} // namespace avr::test
