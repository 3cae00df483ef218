#include "RiffHead.h"
#include "Samples.h"

#include <gtest/gtest.h>

using namespace avr::test;
using namespace kiv::appli;

namespace {

RiffHead parse(Bytes file, std::size_t headBytes = 4096)
{
    file.resize(headBytes);
    return parseRiffHead(file.data(), file.size());
}

} // namespace

TEST(RiffHead, CanonicalHeader)
{
    WaveSpec spec;
    spec.rate = 48000;
    RiffHead const head = parse(waveFile(spec));
    ASSERT_EQ(RiffHead::Status::Found, head.status);
    EXPECT_EQ(44u, head.dataOffset);
    EXPECT_EQ(20000u, head.dataSize);
    EXPECT_EQ(1, head.format.formatTag);
    EXPECT_EQ(2, head.format.channels);
    EXPECT_EQ(48000u, head.format.samplesPerSecond);
    EXPECT_EQ(192000u, head.format.averageBytesPerSecond);
    EXPECT_EQ(4, head.format.blockAlign);
    EXPECT_EQ(16, head.format.bitsPerSample);
    // Behind a short "fmt " lies the next chunk's header: "data" and its size.
    EXPECT_EQ('d' | 'a' << 8, head.format.extraSize);
    EXPECT_EQ('t' | 'a' << 8, head.format.validBitsPerSample);
    EXPECT_EQ(20000u, head.format.channelMask);
}

TEST(RiffHead, JunkInFrontAndOddChunksBetween)
{
    WaveSpec spec;
    spec.before = {'x', 'R', 'I', 'F', 'R', 'I', 'F'};
    append(spec.betweenFmtAndData, chunk("fact", Bytes(4)));
    append(spec.betweenFmtAndData, chunk("LIST", Bytes(5))); // odd, and no padding
    RiffHead const head = parse(waveFile(spec));
    ASSERT_EQ(RiffHead::Status::Found, head.status);
    EXPECT_EQ(7u + 44 + 12 + 13, head.dataOffset);
}

TEST(RiffHead, TheWalkThatEndsAtTheHeadsEdge)
{
    WaveSpec spec;
    append(spec.betweenFmtAndData, chunk("LIST", Bytes(4096 - 36 - 8)));
    RiffHead const exact = parse(waveFile(spec));
    EXPECT_EQ(RiffHead::Status::Found, exact.status);
    EXPECT_EQ(4104u, exact.dataOffset);

    spec.betweenFmtAndData = chunk("LIST", Bytes(4096 - 36 - 8 + 1));
    RiffHead const beyond = parse(waveFile(spec));
    EXPECT_EQ(RiffHead::Status::RanOver, beyond.status);
    EXPECT_EQ(4097u, beyond.distance);

    // A size that would wrap 32 bits.
    Bytes file;
    append(file, "RIFF    WAVE");
    append(file, "junk");
    append(file, 0xFFFFFFFCu, 4);
    RiffHead const huge = parse(file);
    EXPECT_EQ(RiffHead::Status::RanOver, huge.status);
    EXPECT_EQ(4294967312u, huge.distance);
}

TEST(RiffHead, WhatIsNoWave)
{
    EXPECT_EQ(RiffHead::Status::NotWave, parse({}).status);
    EXPECT_EQ(RiffHead::Status::NotWave, parse(noise(4096)).status);
    Bytes avi;
    append(avi, "RIFF    AVI data");
    EXPECT_EQ(RiffHead::Status::NotWave, parse(avi).status);
    Bytes atTheEnd(4092);
    append(atTheEnd, "RIFF");
    EXPECT_EQ(RiffHead::Status::NotWave, parse(atTheEnd).status);
}

TEST(RiffHead, NeverReadsOutsideOfAnyHead)
{
    WaveSpec spec;
    Bytes const file = waveFile(spec);
    for (std::size_t size = 0; size < 64; ++size) {
        Bytes const head(file.begin(), file.begin() + static_cast<long>(size));
        parseRiffHead(head.data(), head.size()); // the sanitizers watch
    }
    for (std::size_t byte = 0; byte < 44; ++byte) {
        for (unsigned value : {0u, 0x7fu, 0x80u, 0xffu}) {
            Bytes damaged(file.begin(), file.begin() + 200);
            damaged[byte] = static_cast<std::uint8_t>(value);
            parseRiffHead(damaged.data(), damaged.size());
        }
    }
}
