#include "IcyTitles.h"
#include "Samples.h"

#include <gtest/gtest.h>

#include <utility>

using namespace avr::host;
using namespace avr::test;

namespace {

using Titles = std::vector<std::pair<long long, std::string>>;

/// What comes out of a stream.
struct Heard {
    Bytes audio;
    Titles titles;
    long long position = 0;

    bool operator==(Heard const& other) const
    {
        return audio == other.audio && titles == other.titles && position == other.position;
    }
};

/// @param first  bytes of the first piece
/// @param piece  of the others
Heard heard(Bytes const& stream, std::size_t interval, std::size_t first, std::size_t piece)
{
    Heard all;
    IcyTitles icy(interval, [&](long long position, std::string const& title) {
        all.titles.emplace_back(position, title);
    });
    for (std::size_t at = 0, bytes = first; at < stream.size(); at += bytes, bytes = piece) {
        bytes = std::min(bytes, stream.size() - at);
        Bytes data(stream.begin() + long(at), stream.begin() + long(at + bytes));
        data.resize(icy.filter(data.data(), bytes));
        append(all.audio, data);
    }
    all.position = icy.position();
    return all;
}

void addBlock(Bytes& stream, std::string const& text)
{
    std::size_t const units = (text.size() + 15) / 16;
    stream.push_back(std::uint8_t(units));
    std::size_t const end = stream.size() + units * 16;
    stream.insert(stream.end(), text.begin(), text.end());
    stream.resize(end);
}

/// The one title of a block; "none" when there is none.
std::string titleOf(std::string const& block)
{
    Bytes stream(1);
    addBlock(stream, "StreamTitle='before';");
    stream.push_back(0);
    addBlock(stream, block);
    Titles const titles = heard(stream, 1, 1, stream.size()).titles;
    return titles.size() == 2 ? titles.at(1).second : "none";
}

} // namespace

TEST(IcyTitles, ComeAtTheirPlaceAtAnyCut)
{
    constexpr std::size_t Interval = 50;
    Bytes const audio = noise(8 * Interval + 20);
    std::string const longTitle(4080 - 15, 'x');
    const std::string blocks[] = {"StreamTitle='';",
                                  "StreamTitle='It's';StreamUrl='u';",
                                  "",
                                  "StreamTitle='It's';",
                                  "StreamUrl='v';",
                                  "StreamTitle='';",
                                  "StreamTitle='" + longTitle + "';",
                                  "StreamTitle='It's';"};
    Bytes stream;
    auto at = audio.begin();
    for (std::string const& block : blocks) {
        stream.insert(stream.end(), at, at + Interval);
        at += Interval;
        addBlock(stream, block);
    }
    stream.insert(stream.end(), at, audio.end());
    Heard const all = {audio, {{100, "It's"}, {300, ""}, {350, longTitle}, {400, "It's"}}, 420};
    EXPECT_EQ(all, heard(stream, Interval, 1, 1));
    for (std::size_t first = 1; first <= stream.size(); ++first)
        ASSERT_EQ(all, heard(stream, Interval, first, stream.size())) << first;
}

TEST(IcyTitles, AreReadAsStationsWriteThem)
{
    struct {
        const char *block, *title;
    } const cases[] = {
        {"StreamTitle='a'b;c''d';", "a'b;c''d"},
        {"StreamUrl='x';StreamTitle='a';", "a"},
        {"StreamTitle='It's a 'test'; ok';StreamUrl='x';", "It's a 'test'; ok"},
        {"StreamTitle='It's a 'test'; ok", "It's a 'test'; ok"},
        {"StreamTitle='a'", "a"}, // no end
        {"StreamTitle='a", "a"},
        {"StreamTitle=''", ""},
        {"StreamTitle='", ""},
        {"StreamTitle='a';StreamTitle='b';", "a"},
        {"StreamTitle='Caf\xE9';", "Caf\xC3\xA9"},
        {"StreamTitle='Caf\xC3\xA9';", "Caf\xC3\xA9"},
        {"StreamTitle=a;", "none"},
        {"StreamTitle='before'", "none"},
        {"streaming';", "none"},
    };
    for (auto const& it : cases)
        EXPECT_EQ(it.title, titleOf(it.block)) << it.block;
    EXPECT_EQ("a", titleOf(std::string("StreamTitle='a\0b';", 18))) << "zeros are padding";
}

TEST(IcyTitles, AStreamWithoutThemStaysAsItIs)
{
    Bytes const audio = noise(1000);
    EXPECT_EQ((Heard{audio, {}, 1000}), heard(audio, 0, 400, 300));
}
