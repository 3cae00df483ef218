#include "Registration.h"
#include "TestDecoder.h"

#include <gtest/gtest.h>

using namespace Avr::Decoder;
using avr::test::TestDecoder;
using kiv::mimetype_ex::enum_mimetype_from_format;
using kiv::mimetype_ex::enumulator;

TEST(Registry, FindsByNameAndTypeWhateverTheCase)
{
    EXPECT_EQ(nullptr, LookupFromFormat("wav"));
    DoRegister<TestDecoder>("wav");
    auto* const wave = LookupFromFormat("WaV");
    ASSERT_NE(nullptr, wave);
    EXPECT_EQ(wave, LookupFromMimeType("AUDIO/wav"));
    EXPECT_EQ(wave, LookupFromMimeType("audio/x-wav")); // registered with a capital letter
    // "wav" begins "wav-testmode" too, until that format is registered itself.
    EXPECT_EQ(wave, LookupFromMimeType("audio/test"));
    EXPECT_EQ(nullptr, LookupFromMimeType("audio/wav-testmode"));
    DoRegister<TestDecoder>("wav-testmode");
    auto* const testMode = LookupFromFormat("wav-testmode");
    EXPECT_NE(wave, testMode);
    EXPECT_EQ(testMode, LookupFromMimeType("audio/test"));
    EXPECT_EQ(testMode, LookupFromMimeType("audio/wav-testmode"));
    EXPECT_EQ(wave, LookupFromMimeType("audio/wav"));

    EXPECT_EQ(nullptr, LookupFromFormat(""));
    EXPECT_EQ(nullptr, LookupFromFormat("mp3"));
    EXPECT_EQ(nullptr, LookupFromMimeType("text/plain"));

    // A fresh set replaces the entries; the old decoder stays usable.
    DoRegister<TestDecoder>("wav");
    EXPECT_NE(wave, LookupFromFormat("wav"));
    EXPECT_EQ(kiv::appli::Ok, wave->Close());
}

TEST(Registry, TheWalkOverTheTableEndsForGood)
{
    const char* format = "wav";
    enumulator cursor;
    std::string found;
    while (enum_mimetype_from_format(format, cursor))
        found += std::string(cursor.mimeType) + ' ';
    EXPECT_EQ("audio/wav audio/test audio/X-Wav ", found);
    EXPECT_FALSE(enum_mimetype_from_format(format, cursor));
    int all = 0;
    const char* any = "";
    for (enumulator every; enum_mimetype_from_format(any, every);)
        ++all;
    EXPECT_EQ(4, all);
    const char* other = "WAV";
    enumulator none;
    EXPECT_FALSE(enum_mimetype_from_format(other, none));
}
