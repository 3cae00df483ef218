#include "LogCapture.h"
#include "PdtParser.h"
#include "PlainScan.h"
#include "Samples.h"

#include <gtest/gtest.h>

using namespace avr::test;

namespace {

Bytes const Marker = {'T', 0, 'E', 0, 'X', 0, 'T', 0, 0, 0};

/// @return the record, if it is complete
Bytes feed(pdt::parser& parser, std::vector<Bytes> const& blocks)
{
    for (Bytes const& block : blocks)
        parser.append_data(block.data(), static_cast<unsigned int>(block.size()));
    return parser.complete() ? parser.buffer() : Bytes();
}
Bytes feed(std::vector<Bytes> const& blocks)
{
    pdt::parser parser;
    return feed(parser, blocks);
}

} // namespace

TEST(PdtParser, FindsARecordHoweverItIsCut)
{
    Bytes const text = {'A', 0, 'b', 0x1E, 'c', 0, 0}; // with a zero pair at an odd place
    Bytes const stream = joined({noise(30), Marker, text, Bytes{0xEE, 0, 0xEE}});
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        auto const middle = stream.begin() + long(cut);
        Bytes const first(stream.begin(), middle), second(middle, stream.end());
        bool const lost = cut == 30 + Marker.size(); // nothing of it was there to be kept
        EXPECT_EQ(lost ? Bytes() : text, feed({first, second, Bytes{1}})) << cut;
    }
}

TEST(PdtParser, ARecordIsCompleteWithTheBlockBehindItsMarker)
{
    Bytes const latin = {0x41, 0, 0, 0}; // its letter's second half ends it
    pdt::parser parser;
    for (Bytes const& next : {Bytes(), Bytes{7}, Marker}) {
        EXPECT_EQ(Bytes(), feed(parser, {joined({Marker, latin})}));
        EXPECT_EQ((Bytes{0x41, 0, 0}), feed(parser, {next}));
        parser.reset();
        EXPECT_FALSE(parser.complete());
    }
}

TEST(PdtParser, RecordsThatAreTooShortOrTooLongAreDropped)
{
    LogCapture log;
    pdt::parser parser;
    EXPECT_EQ(Bytes(), feed(parser, {joined({Marker, Bytes{'A'}}), Bytes()}));
    EXPECT_EQ("[pdt_parser::parse_data] few data\n", log.text());
    EXPECT_TRUE(parser.buffer().empty());

    Bytes const most(4095, 'x');
    EXPECT_EQ(Bytes(), feed(parser, {joined({Marker, most}), Bytes{'y'}}));
    EXPECT_EQ(4096u, parser.buffer().size());
    EXPECT_EQ(4098u, feed(parser, {Bytes{0, 0, 1}}).size());
    parser.reset();
    EXPECT_EQ(Bytes(), feed(parser, {joined({Marker, most}), Bytes(2, 'y')}));
    EXPECT_TRUE(parser.buffer().empty());
    // A late terminator still ends it.
    EXPECT_EQ(9002u, feed(parser, {joined({Marker, Bytes(5000, 'x')}),
                                   joined({Bytes(4000, 'y'), Bytes(2)})})
                         .size());
}

TEST(PdtParser, AgreesWithTheScanByteByByte)
{
    std::uint8_t const letters[] = {'T', 0, 'E', 'X', 0, 'T', 1, 0};
    Bytes const random = noise(200000, 5);
    pdt::parser parser;
    PlainScan plain;
    int found = 0;
    std::size_t next = 0;
    for (std::size_t at = 0; at + 16 < random.size();) {
        Bytes block;
        // Mostly the marker's next byte, so that it is met often.
        for (std::size_t size = random[at++] % 12; block.size() < size; ++at) {
            block.push_back(random[at] < 240 ? Marker[next] : letters[random[at] % 8]);
            next = block.back() == Marker[next] ? (next + 1) % Marker.size() : 0;
        }
        bool const wasIdle = parser.buffer().empty();
        Bytes const rest = plain.rest(block.data(), block.size());
        feed(parser, {block});
        if (wasIdle) {
            ASSERT_EQ(rest, parser.buffer()) << at;
        }
        if (!parser.buffer().empty()) {
            ++found;
            parser.reset();
            plain = PlainScan();
        }
    }
    EXPECT_GT(found, 1000);
}

TEST(PdtProperty, IsWhatStandsBehindTheKeysFirstOccurrence)
{
    using pdt::get_property;
    std::string const text = "ARTIST \t Foo Bar |TITLE Baz|GENRE";
    EXPECT_EQ("Foo Bar ", get_property(text, "ARTIST"));
    EXPECT_EQ("Baz", get_property(text, "TITLE"));
    EXPECT_EQ("", get_property(text, "GENRE"));
    EXPECT_EQ("", get_property(text, "title"));
    EXPECT_EQ("", get_property(text, ""));
    EXPECT_EQ("", get_property("", "TITLE"));
    EXPECT_EQ("", get_property("TITLE  |x", "TITLE"));
    EXPECT_EQ("S by night", get_property("ARTIST SUBTITLES by night|TITLE Bar", "TITLE"));
}
