#include "AsfFile.h"
#include "AsfPackets.h"
#include "WmaPlay.h"

#include <cstring>

using namespace avr::host;
using namespace avr::test;

namespace {

/// A file in memory.
struct Input {
    Bytes file;
    std::size_t at = 0;
    int reads = 0;
    bool canSeek = true;

    AsfRead reader()
    {
        return [this](std::uint8_t* to, std::size_t bytes) {
            ++reads;
            bool const fits = bytes <= file.size() - std::min(at, file.size());
            if (fits)
                std::copy_n(file.begin() + long(at), bytes, to);
            at += fits ? bytes : 0;
            return fits;
        };
    }
    AsfPackets packets()
    {
        return {*readAsfHeader(reader(), 0), reader(), [this](std::uint64_t to) {
                    at = canSeek ? std::size_t(to) : at;
                    return canSeek;
                }};
    }
};

std::vector<Bytes> blocksOf(AsfPackets& packets)
{
    std::vector<Bytes> blocks;
    for (auto result = packets.next(); result != AsfPackets::Result::End; result = packets.next())
        if (result == AsfPackets::Result::Block)
            blocks.emplace_back(packets.block(), packets.block() + packets.blockBytes());
    return blocks;
}
std::vector<Bytes> blocksOf(Bytes const& file)
{
    Input input{file};
    AsfPackets packets = input.packets();
    return blocksOf(packets);
}

AsfFile fileOf(std::size_t blocks, std::size_t bytes)
{
    AsfFile asf;
    asf.extra = {1, 2, 3};
    for (std::size_t i = 0; i < blocks; ++i)
        asf.blocks.push_back(noise(bytes, std::uint32_t(i)));
    return asf;
}

void put(Bytes& file, std::size_t at, std::uint64_t value, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        file[at + i] = std::uint8_t(value >> (8 * i));
}

constexpr std::size_t FileAt = 30, StreamAt = FileAt + 104 + 123, DataAt = StreamAt + 99;

} // namespace

TEST(AsfHeader, WhatItDoesNotHaveIsNotThere)
{
    Bytes const file = fileOf(3, 500).bytes();
    Input good{file};
    ASSERT_TRUE(readAsfHeader(good.reader(), 0));
    EXPECT_EQ(DataAt + 50, good.at);
    EXPECT_FALSE(readAsfHeader(Input{file}.reader(), 1)) << "there is one audio stream";
    struct {
        std::size_t at;
        std::uint64_t value;
        std::size_t bytes;
    } const bad[] = {{0, 0, 1},                    // another file
                     {16, 29, 8},                  // a header that is too short,
                     {16, DataAt - 1, 8},          // or cut,
                     {16, DataAt + 1, 8},          // or longer than the file,
                     {16, UINT64_MAX, 8},          // or than any
                     {FileAt, 0, 8},               // no properties
                     {FileAt + 16, 23, 8},         // objects that are too short,
                     {FileAt + 16, 103, 8},        //
                     {FileAt + 16, UINT64_MAX, 8}, // or too long
                     {FileAt + 96, 0, 4},          // packets of no size,
                     {FileAt + 96, UINT32_MAX, 4}, // or of an absurd one
                     {StreamAt + 24, 0, 1},        // a picture
                     {StreamAt + 16, 95, 8},       // no format
                     {StreamAt + 73, 0x80, 1},     // encrypted
                     {DataAt, 0, 1}};              // no data
    for (auto const& change : bad) {
        Input input{file};
        put(input.file, change.at, change.value, change.bytes);
        EXPECT_FALSE(readAsfHeader(input.reader(), 0)) << change.at << ' ' << change.value;
    }
    for (const char* guid : {"\xFB\xB3\x11\x22\x23\xBD\xD2\x11\xB4\xB7\x00\xA0\xC9\x55\xFC\x6E",
                             "\x14\xE6\x8A\x29\x22\x26\x17\x4C\xB9\x35\xDA\xE0\x7E\xE9\x28\x9C"}) {
        Input input{file};
        std::copy_n(guid, 16, input.file.begin() + FileAt + 104);
        EXPECT_FALSE(readAsfHeader(input.reader(), 0)) << "it is encrypted";
    }
}

TEST(AsfHeader, NumbersAreHeldWithinBounds)
{
    Bytes const file = fileOf(3, 500).bytes();
    auto const changed = [&](std::size_t at, std::uint64_t value, std::size_t bytes) {
        Input input{file};
        put(input.file, at, value, bytes);
        return readAsfHeader(input.reader(), 0).value();
    };
    EXPECT_EQ(2000u, changed(0, 0x30, 1).duration);
    EXPECT_EQ(0u, changed(FileAt + 64, 0, 8).duration);
    EXPECT_EQ(0u, changed(FileAt + 80, UINT64_MAX, 8).duration);
    EXPECT_EQ(UINT32_MAX - 1, changed(FileAt + 64, UINT64_MAX, 8).duration);
    EXPECT_EQ(0u, changed(FileAt + 88, 1, 4).duration);
    EXPECT_EQ(0u, changed(DataAt + 40, 0, 8).duration);
    EXPECT_EQ(UINT32_MAX, changed(DataAt + 40, UINT64_MAX, 8).packets);
    for (std::uint32_t claimed : {3u, 4u, 0xFFFFu})
        EXPECT_EQ(Bytes({1, 2, 3}), changed(StreamAt + 94, claimed, 2).stream.extra);
    EXPECT_EQ(Bytes(), changed(StreamAt + 64, 18, 4).stream.extra);
    EXPECT_EQ(Bytes({1, 2, 3}), changed(StreamAt + 64, UINT32_MAX, 4).stream.extra);
}

TEST(AsfPackets, ABlockThatIsNotCompleteCostsOnlyItself)
{
    AsfFile asf = fileOf(40, 3 * 285);
    asf.layout = AsfFile::Layout::Single;
    asf.packetBytes = 311; // a third
    std::vector<Bytes> const packets = asf.packets();
    ASSERT_EQ(120u, packets.size());
    for (std::size_t hit = 0; hit < packets.size(); hit += 7)
        for (std::size_t last : {hit, hit + 3})
            for (std::size_t damage = 0; damage < 7; ++damage) {
                Bytes file = asf.header(packets.size() + (damage == 5 ? 1 : 0));
                for (std::size_t i = 0; i < packets.size(); ++i) {
                    Bytes packet = packets[i];
                    if (i == hit || i == last)
                        packet[0] = Bytes{0x00, 0x02, 0x60, 0xE0, 0xFF, packet[0], 0x90}[damage];
                    append(file, packet);
                    if (i == hit && damage == 5) // twice
                        append(file, packet);
                }
                std::vector<Bytes> const rest = blocksOf(file);
                EXPECT_GE(rest.size(), 38u);
                for (Bytes const& block : rest)
                    EXPECT_EQ(1, std::count(asf.blocks.begin(), asf.blocks.end(), block));
            }
}

TEST(AsfPackets, BlocksThatNeverEndTakeBoundedTime)
{
    AsfFile asf = fileOf(2000, 1400);
    asf.layout = AsfFile::Layout::Single;
    asf.packetBytes = 726; // a half
    std::vector<Bytes> const packets = asf.packets();
    ASSERT_EQ(4000u, packets.size());
    Input input{asf.header(2000)};
    for (std::size_t i = 0; i < packets.size(); i += 4) { // halves that do not belong together
        append(input.file, packets[i]);
        append(input.file, packets[i + 3]);
    }
    AsfPackets reader = input.packets();
    int const before = input.reads;
    EXPECT_EQ(AsfPackets::Result::Nothing, reader.next());
    EXPECT_LE(input.reads - before, 20);
    EXPECT_TRUE(blocksOf(reader).empty());
    EXPECT_EQ(2000, input.reads - before);
    EXPECT_EQ(input.file.size(), input.at);
}

TEST(AsfPackets, WhatWasSpreadIsGathered)
{
    AsfFile asf = fileOf(1, 0);
    asf.blocks = {{0, 1, 10, 11, 20, 21, 2, 3, 12, 13, 22, 23}, Bytes(11, 7)};
    asf.spread = {2, 6, 0, 2, 0, 1, 0, 0};
    EXPECT_EQ((std::vector<Bytes>{{0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23}, Bytes(11, 7)}),
              blocksOf(asf.bytes()));
    for (Bytes const& spread :
         {Bytes{1, 6, 0, 2, 0}, {2, 6, 0, 0, 0}, {2, 6, 0, 4, 0}, {2, 6, 0}}) {
        asf.spread = spread;
        EXPECT_EQ(asf.blocks, blocksOf(asf.bytes()));
    }
}

TEST(AsfPackets, AMoveIsToThePacketOfATime)
{
    AsfFile asf = fileOf(100, 948);
    asf.duration = 4000;
    Input input{asf.bytes()};
    std::size_t const data = asf.header(1).size();
    AsfPackets packets = input.packets();
    std::size_t const count = packets.header().packets;
    for (std::uint32_t ms : {4000u, 0u, 39u, 2001u, 3999u}) {
        std::size_t const packet = std::min(ms * count / 4000, count - 1);
        EXPECT_EQ(packet * 4000 / count, packets.moveTo(ms));
        EXPECT_EQ(data + packet * 1000, input.at);
        std::vector<Bytes> const rest = blocksOf(packets);
        EXPECT_TRUE(std::equal(rest.rbegin(), rest.rend(), asf.blocks.rbegin()));
    }
    packets.moveTo(0);
    packets.next();
    input.canSeek = false;
    EXPECT_FALSE(packets.moveTo(3000));
    EXPECT_EQ(99u, blocksOf(packets).size()) << "it plays on";
    input.canSeek = true;
    input.file.resize(data + 2500);
    packets.moveTo(0);
    EXPECT_EQ(2u, blocksOf(packets).size());
    EXPECT_EQ(AsfPackets::Result::End, packets.next()) << "a failed read is not tried again";
    packets.moveTo(0);
    EXPECT_EQ(2u, blocksOf(packets).size());
}

TEST(AsfFunctions, HandOutBlocksInPieces)
{
    AsfFile asf;
    asf.blocks = {noise(70000, 1), noise(32767, 2)};
    asf.packetBytes = 9000;
    WmaPlay play(asf.bytes());
    char scratch = 0, unknown = 0;
    __wma_parser_stream_params stream;
    EXPECT_LT(ASF_parseAsfHeader(1, 0, &scratch, &play.input, &stream), ASF_ParserErrors);
    play.at = 0;
    ASSERT_EQ(0, ASF_parseAsfHeader(0, 0, &scratch, &play.input, &stream));
    unsigned short* data = nullptr;
    short bytes = 0, piece = 0;
    unsigned int time = 0;
    auto const next = [&](void* from) {
        int const result = ASF_fileGetInput(from, &data, &bytes, &time, &piece);
        return std::vector<int>{result, bytes, piece, int(time)};
    };
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(ASF_NoMoreData, ASF_seek(&scratch, 2001, nullptr));
        ASSERT_EQ(0, ASF_seek(&scratch, 0, &time));
        EXPECT_EQ((std::vector<int>{0, 32767, ASF_BlockBegins, 0}), next(&scratch));
        EXPECT_EQ(0, std::memcmp(data, asf.blocks[0].data(), 32767));
        EXPECT_EQ((std::vector<int>{0, 32767, 0, 0}), next(&scratch));
    }
    EXPECT_EQ((std::vector<int>{0, 70000 - 2 * 32767, ASF_BlockEnds, 0}), next(&scratch));
    EXPECT_EQ((std::vector<int>{0, 32767, ASF_BlockBegins | ASF_BlockEnds, 1000}), next(&scratch));
    EXPECT_EQ(0, std::memcmp(data, asf.blocks[1].data(), 32767));
    EXPECT_EQ((std::vector<int>{ASF_NoMoreData, 0, 0, 1000}), next(&scratch));
    EXPECT_EQ(0, ASF_seek(&scratch, 2000, &time));
    std::size_t const packets = asf.packets().size();
    EXPECT_EQ((packets - 1) * 2000 / packets, time) << "of the last one";
    asf.packetBytes = 100000;
    play.file = asf.header(1u << 31);
    play.at = 0;
    ASSERT_EQ(0, ASF_parseAsfHeader(0, 0, &scratch, &play.input, &stream));
    EXPECT_EQ(0, ASF_seek(&scratch, 0, nullptr));
    EXPECT_LT(ASF_seek(&scratch, 2000, nullptr), 0) << "too far for the input's numbers";
    EXPECT_LT(next(&unknown)[0], ASF_ParserErrors);
    EXPECT_LT(ASF_seek(&unknown, 0, nullptr), ASF_ParserErrors);
}
