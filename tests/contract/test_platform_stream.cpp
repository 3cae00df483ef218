// What any platform's stream keeps to.
#include "PlatformUnderTest.h"
#include "Samples.h"

#include <gtest/gtest.h>

using namespace avr::test;
using namespace kiv::appli;
using Stream = Avr::Interface::IReadableStream;

namespace {

Bytes readAll(Stream& stream)
{
    Bytes all;
    Bytes part(999);
    unsigned int got = 0;
    int result = Ok;
    while ((result = stream.Read(part.data(), 999, &got)) >= 0 || result == StreamRetry) {
        EXPECT_TRUE(result < 0 || got > 0);
        if (result >= 0)
            all.insert(all.end(), part.begin(), part.begin() + got);
    }
    EXPECT_EQ(ResultEndOfStream, result);
    return all;
}

} // namespace

TEST(PlatformStream, ReadsEverythingAndBeginsAnewAfterClose)
{
    Bytes const bytes = noise(10000);
    auto const stream = platformStream(bytes);
    EXPECT_LT(stream->IsOpened(), 0);
    unsigned int got = 7;
    EXPECT_LT(stream->Read(&got, 1, &got), 0);
    for (int round = 0; round < 2; ++round) {
        ASSERT_GE(stream->Open(), 0);
        EXPECT_GE(stream->IsOpened(), 0);
        EXPECT_EQ(bytes, readAll(*stream));
        EXPECT_EQ(Ok, stream->Read(nullptr, 0, &got));
        EXPECT_EQ(0u, got);
        stream->Close();
        stream->Close();
        EXPECT_LT(stream->IsOpened(), 0);
    }
}

TEST(PlatformStream, SeeksByByteAndKnowsItself)
{
    Bytes const bytes = noise(10000);
    auto const stream = platformStream(bytes);
    ASSERT_GE(stream->Open(), 0);
    EXPECT_TRUE(stream->GetCapabilities() & Stream::CanSeekByte);
    ASSERT_GE(stream->SeekByte(9000), 0);
    EXPECT_EQ(Bytes(bytes.begin() + 9000, bytes.end()), readAll(*stream));
    ASSERT_GE(stream->SeekByte(500), 0);
    EXPECT_LT(stream->SeekByte(-1), 0); // changes nothing
    EXPECT_EQ(Bytes(bytes.begin() + 500, bytes.end()), readAll(*stream));
    std::string text = "kept";
    EXPECT_GE(stream->GetStreamProperty(Stream::ContentLength, text), 0);
    EXPECT_EQ("10000", text);
    EXPECT_LT(stream->GetStreamProperty(99, text), 0);
    EXPECT_EQ("10000", text);
    EXPECT_GE(stream->GetStreamProperty(Stream::StreamType, text), 0);
    EXPECT_TRUE(text == "local" || text == "http:inet") << text;
}

TEST(PlatformStream, RemembersWhatFailed)
{
    auto const stream = missingStream();
    EXPECT_EQ(0, stream->GetErrorStatus());
    EXPECT_LT(stream->Open(), 0);
    EXPECT_NE(0, stream->GetErrorStatus());
    stream->Close();
    EXPECT_NE(0, stream->GetErrorStatus());
}
