// The skeleton's own tests, and its row for the suite that every decoder passes.
#include "DecoderRun.h"
#include "DecodersUnderTest.h"
#include "Registration.h"
#include "SkeletonDecoder.h"

using namespace avr::test;
using namespace kiv::appli;

// The platform's table as it would be with the new format.
namespace kiv { namespace mimetype_ex {
const MimeTypeInfo mimeinfo_list[] = {{"skeleton", "dlta", "audio/x-skeleton", "Differences"}};
const unsigned int MimeTypeInfoSize = 1;
}} // namespace kiv::mimetype_ex

namespace {

Bytes skeletonFile(std::uint32_t rate, std::uint16_t channels, Bytes const& body)
{
    Bytes file;
    append(file, "DLTA");
    append(file, rate, 4);
    append(file, channels, 2);
    append(file, body);
    return file;
}

class Skeleton : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    SkeletonDecoder decoder;
};

} // namespace

std::vector<DecoderUnderTest> const& avr::test::decodersUnderTest()
{
    static std::vector<DecoderUnderTest> const rows = {
        {"skeleton",
         [] { return std::make_unique<SkeletonDecoder>(); },
         skeletonFile(44100, 2, noise(60000)),
         {}},
    };
    return rows;
}

TEST_F(Skeleton, PlaysTheSumsOfTheDifferences)
{
    Bytes body = {1, 255, 127, 128, 127, 0, 9}; // and one byte of a frame that is cut off
    open(skeletonFile(8000, 2, body));
    play();
    EXPECT_EQ((std::vector<int>{2, 4, 6, 1}), callback.events());
    Bytes pcm;
    for (std::uint32_t sample : {0x0100u, 0xFF00u, 0x8000u, 0x7F00u, 0xFF00u, 0x7F00u})
        append(pcm, sample, 2);
    EXPECT_EQ(pcm, callback.pcm());
    EXPECT_EQ(375000u, callback.lastDuration().nanoseconds);
    EXPECT_EQ(SkeletonDecoder::Codec, callback.info().codecId);
    EXPECT_EQ(8000u, callback.info().format.samplesPerSecond);
    EXPECT_EQ(32000u, callback.info().format.averageBytesPerSecond);
}

TEST_F(Skeleton, RefusesHeadsThatItCannotPlay)
{
    Bytes const body = noise(5000);
    for (Bytes const& file : {skeletonFile(0, 2, body), skeletonFile(192001, 2, body),
                              skeletonFile(8000, 0, body), skeletonFile(8000, 3, body)})
        expectRefused(file, "");
}

TEST(SkeletonRegistry, IsFoundByNameAndType)
{
    Avr::Decoder::DoRegister<SkeletonDecoder>("skeleton");
    ASSERT_NE(nullptr, Avr::Decoder::LookupFromFormat("skeleton"));
    EXPECT_EQ(Avr::Decoder::LookupFromFormat("skeleton"),
              Avr::Decoder::LookupFromMimeType("audio/x-skeleton"));
}
