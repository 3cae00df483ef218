// What any platform's small services keep to: MIME table, tags of MP3 files, text.
#include "Samples.h"
#include "platform/MimeTable.h"
#include "platform/Mp3TagParser.h"
#include "platform/Utf16.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

using namespace avr::test;
using namespace kiv::mimetype_ex;

namespace {

/// @param size  of the destination
std::string converted(std::u16string const& text, unsigned int size = 100)
{
    std::vector<char> source = {'x'}; // so that it is not aligned
    for (char16_t unit : text + u'\0') {
        source.push_back(char(unit & 0xFF));
        source.push_back(char(unit >> 8));
    }
    std::vector<char> destination(size + 1, '#');
    unsigned int const bytes = convert_utf16_to_utf8(source.data() + 1, destination.data(), size);
    EXPECT_LE(bytes, size);
    EXPECT_EQ(bytes < size ? '\0' : '#', destination[bytes]);
    EXPECT_EQ('#', destination[size]);
    return {destination.data(), bytes};
}

} // namespace

TEST(PlatformMimeTable, EveryTypeStandsOnceAndInLowerCase)
{
    std::set<std::string> types = {"audio/wav-testmode"}; // its decoder's own
    ASSERT_LT(0u, MimeTypeInfoSize);
    for (unsigned at = 0; at < MimeTypeInfoSize; ++at) {
        MimeTypeInfo const& record = mimeinfo_list[at];
        ASSERT_TRUE(record.format && record.extensions && record.mimeType && record.title) << at;
        std::string const type = record.mimeType;
        EXPECT_TRUE(std::none_of(type.begin(), type.end(), [](unsigned char c) {
            return std::isupper(c) != 0;
        })) << type;
        // The registry lets the last registration of a type win.
        EXPECT_TRUE(types.insert(type).second) << type;
    }
}

TEST(PlatformTagParser, SizesOfTagsAtTheBeginning)
{
    auto const size = [](Bytes const& data, bool wanted = true) {
        return CMp3TagParser(data.data(), unsigned(data.size()), wanted, true, true)
            .getID3v2HeaderSize();
    };
    Bytes const tag = {'I', 'D', '3', 3, 0, 0, 1, 0, 2, 5};
    EXPECT_EQ(10u + (1 << 21) + 2 * 128 + 5, size(tag));
    EXPECT_EQ(20u, size({'I', 'D', '3', 4, 0, 0x10, 0, 0, 0, 0})); // with a footer
    EXPECT_EQ(0u, size(tag, false));
    for (Bytes const& none :
         {Bytes(tag.begin(), tag.end() - 1), Bytes{'T', 'A', 'G', 3, 0, 0, 1, 0, 2, 5},
          Bytes{'I', 'D', '3', 4, 0, 0, 0, 0, 0x80, 0},
          Bytes{'I', 'D', '3', 0xFF, 0, 0, 0, 0, 0, 0}})
        EXPECT_EQ(0u, size(none));
}

TEST(PlatformText, CharactersOfEveryLength)
{
    EXPECT_EQ("", converted(u""));
    EXPECT_EQ("a\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF",
              converted(u"a\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"));
    EXPECT_EQ(0u, convert_utf16_to_utf8(nullptr, nullptr, 5));
}

TEST(PlatformText, HalvesWithoutAPartnerAreReplaced)
{
    std::u16string const high(1, char16_t(0xD83D)), low(1, char16_t(0xDE00));
    EXPECT_EQ("\U0001F600", converted(high + low));
    EXPECT_EQ("\uFFFDa\uFFFD", converted(low + u"a" + low));
    EXPECT_EQ("\uFFFD\U0001F600\uFFFDa", converted(high + high + low + high + u"a"));
    EXPECT_EQ("a\uFFFD", converted(u"a" + high)); // at the end
}

TEST(PlatformText, IsCutBehindAWholeCharacter)
{
    std::u16string const text = u"a\u00E9\u20AC\U0001F600z";
    std::size_t const fits[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 11};
    for (unsigned int size = 0; size < 13; ++size)
        EXPECT_EQ(fits[size], converted(text, size).size()) << size;
}
