#include "PcmTime.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Avr::Decoder;
using kiv::appli::TimeSpec;

TEST(PcmTime, BlocksLastWhatTheirBytesPlay)
{
    TimeSpec const block = playingTime(4096, 176400);
    EXPECT_EQ(0u, block.seconds);
    EXPECT_EQ(23219954u, block.nanoseconds);
    TimeSpec const slow = playingTime(1000000, 3);
    EXPECT_EQ(333333u, slow.seconds);
    EXPECT_EQ(333333333u, slow.nanoseconds);
    TimeSpec const fast = playingTime(0xFFFFFFFEu, 0xFFFFFFFFu); // the product needs 64 bits
    EXPECT_EQ(0u, fast.seconds);
    EXPECT_EQ(999999999u, fast.nanoseconds);
    EXPECT_EQ(0u, playingTime(4096, 0).nanoseconds);
}

TEST(PcmTime, OffsetsFallOnFramesAndSaturate)
{
    EXPECT_EQ(264600, byteOffset(TimeSpec{1, 500000000}, 176400, 4));
    EXPECT_EQ(384000, byteOffset(TimeSpec{2, 0}, 192000, 4));
    EXPECT_EQ(0, byteOffset(TimeSpec{0, 22000}, 176400, 4)); // 3.88 bytes
    EXPECT_EQ(0, byteOffset(TimeSpec{9, 0}, 176400, 0));
    EXPECT_EQ(0, byteOffset(TimeSpec{9, 0}, 0, 4));
    auto const most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(most / 7 * 7, byteOffset(TimeSpec{0xFFFFFFFFu, 0xFFFFFFFFu}, 0xFFFFFFFFu, 7));
}

TEST(PcmTime, DurationsAreWholeSecondsAndSaturate)
{
    EXPECT_EQ(5000u, durationMilliseconds(1000000, 1, 176400));
    EXPECT_EQ(35000u, durationMilliseconds(176400, 35, 176400));
    EXPECT_EQ(0u, durationMilliseconds(-1, 1, 176400));
    EXPECT_EQ(0u, durationMilliseconds(1000, 1, 0));
    EXPECT_EQ(4294967295u, durationMilliseconds(std::numeric_limits<std::int64_t>::max(), 35, 1));
    EXPECT_EQ(4294967295u, durationMilliseconds(4294968, 1, 1));
    EXPECT_EQ(4294967000u, durationMilliseconds(4294967, 1, 1));
}
