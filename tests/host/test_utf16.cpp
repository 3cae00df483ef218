#include "platform/Utf16.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

TEST(Utf16, CharactersOfEveryLength)
{
    EXPECT_EQ("", converted(u""));
    EXPECT_EQ("a\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF",
              converted(u"a\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"));
    EXPECT_EQ(0u, convert_utf16_to_utf8(nullptr, nullptr, 5));
}

TEST(Utf16, HalvesWithoutAPartnerAreReplaced)
{
    std::u16string const high(1, char16_t(0xD83D)), low(1, char16_t(0xDE00));
    EXPECT_EQ("\U0001F600", converted(high + low));
    EXPECT_EQ("\uFFFDa\uFFFD", converted(low + u"a" + low));
    EXPECT_EQ("\uFFFD\U0001F600\uFFFDa", converted(high + high + low + high + u"a"));
    EXPECT_EQ("a\uFFFD", converted(u"a" + high)); // at the end
}

TEST(Utf16, IsCutBehindAWholeCharacter)
{
    std::u16string const text = u"a\u00E9\u20AC\U0001F600z";
    std::size_t const fits[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 11};
    for (unsigned int size = 0; size < 13; ++size)
        EXPECT_EQ(fits[size], converted(text, size).size()) << size;
}
