#include "AsfFile.h"
#include "AsfHeaderFacts.h"
#include "AsfPackets.h"
#include "AsfPadding.h"
#include "MmsFraming.h"
#include "MmshBody.h"
#include "TestData.h"

#include <algorithm>

using namespace avr::host;
using namespace avr::test;

namespace {

using Result = MmsFraming::Result;

/// What the de-framer tells, and the bytes that belong to it.
struct Told {
    Result result;
    Bytes bytes;
    bool operator==(Told const& other) const
    {
        return result == other.result && bytes == other.bytes;
    }
};

/// Everything up to where the piece is taken.
void feed(MmsFraming& framing, Bytes const& body, std::size_t from, std::size_t to,
          std::vector<Told>& told)
{
    Bytes const piece(body.begin() + long(from), body.begin() + long(to));
    std::size_t taken = 0;
    Result result = Result::Header;
    for (std::size_t at = 0; result != Result::NeedsMore && result != Result::Broken; at += taken) {
        result = framing.feed(piece.data() + at, piece.size() - at, taken);
        if (result == Result::Header || result == Result::Packet)
            told.push_back({result, framing.output()});
        else if (result != Result::NeedsMore)
            told.push_back({result, {}});
        else
            EXPECT_EQ(piece.size() - at, taken);
    }
}
std::vector<Told> told(Bytes const& body)
{
    MmsFraming framing;
    std::vector<Told> all;
    feed(framing, body, 0, body.size(), all);
    return all;
}

/// The header and the packets.
Bytes fileOf(std::vector<Told> const& told)
{
    Bytes file;
    for (Told const& it : told)
        append(file, it.bytes);
    return file;
}

std::vector<Bytes> blocksOf(Bytes const& file)
{
    std::size_t at = 0;
    AsfRead const read = [&](std::uint8_t* to, std::size_t bytes) {
        bool const fits = bytes <= file.size() - at;
        std::copy_n(file.begin() + long(at), fits ? bytes : 0, to);
        at += fits ? bytes : 0;
        return fits;
    };
    AsfPackets packets(*readAsfHeader(read, 0), read, nullptr);
    std::vector<Bytes> blocks;
    while (packets.next() == AsfPackets::Result::Block)
        blocks.emplace_back(packets.block(), packets.block() + packets.blockBytes());
    return blocks;
}

/// Why a body is refused, after so much of it that was not.
std::string refusal(std::vector<Bytes> const& chunks)
{
    MmsFraming framing;
    std::vector<Told> all;
    Bytes const body = mmshBody(chunks);
    feed(framing, body, 0, body.size(), all);
    EXPECT_EQ(Result::Broken, all.back().result);
    std::size_t taken = 9;
    Bytes const more = mmshBody(mmshHeader(AsfFile().header(0)));
    EXPECT_EQ(Result::Broken, framing.feed(more.data(), more.size(), taken)) << "for ever";
    EXPECT_EQ(0u, taken);
    return framing.reason();
}

AsfFile smallFile()
{
    AsfFile asf;
    asf.packetBytes = 300;
    for (std::uint32_t i = 0; i < 4; ++i)
        asf.blocks.push_back(noise(200, i));
    return asf;
}

} // namespace

TEST(MmsFraming, AFileComesBackAsItWas)
{
    Bytes const file = testData("wma2.wma"); // its padding is of zeros, too
    std::vector<Bytes> const chunks = mmshChunks(file, 100);
    EXPECT_LT(mmshBody(chunks).size(), file.size()) << "the padding was left out";
    std::vector<Told> const all = told(mmshBody(chunks));
    EXPECT_EQ(file, fileOf(all));
    EXPECT_EQ(Result::Header, all.front().result);
    EXPECT_EQ(Result::End, all.back().result);
}

TEST(MmsFraming, TellsTheSameAtAnyCut)
{
    AsfFile const asf = smallFile();
    std::vector<Bytes> chunks = mmshChunks(asf.bytes(), 100);
    std::size_t const packets = asf.packets().size();
    chunks.insert(chunks.begin() + 1, mmshChunk('M', 0, 0x0C, noise(30)));
    chunks.insert(chunks.begin(), mmshChunk('P', noise(50)));
    chunks.insert(chunks.end() - 2, mmshChunk('T', {}));
    chunks[2][0] = '$' | 0x80; // another one follows at once
    chunks.back() = mmshNotice('E', 1);
    chunks.push_back(mmshNotice('C', 0));
    AsfFile second = asf;
    second.packetBytes = 400;
    for (Bytes const& chunk : mmshChunks(second.bytes()))
        chunks.push_back(chunk);
    Bytes const body = mmshBody(chunks);

    std::vector<Told> const whole = told(body);
    ASSERT_EQ(packets + second.packets().size() + 5, whole.size());
    EXPECT_EQ(Result::EndMoreFollows, whole[packets + 1].result);
    EXPECT_EQ(Result::StreamChange, whole[packets + 2].result);
    EXPECT_EQ((Told{Result::Header, second.header(second.packets().size())}), whole[packets + 3]);
    EXPECT_EQ(400u, whole[packets + 4].bytes.size());
    EXPECT_EQ(Result::End, whole.back().result);

    MmsFraming bytewise;
    std::vector<Told> all;
    for (std::size_t at = 0; at < body.size(); ++at)
        feed(bytewise, body, at, at + 1, all);
    EXPECT_EQ(whole, all);
    for (std::size_t cut = 0; cut <= body.size(); ++cut) {
        MmsFraming framing;
        all.clear();
        feed(framing, body, 0, cut, all);
        feed(framing, body, cut, body.size(), all);
        ASSERT_EQ(whole, all) << cut;
    }
}

TEST(MmsFraming, LostPacketsAndEveryLayoutLeaveWholeBlocks)
{
    for (AsfFile::Layout layout :
         {AsfFile::Layout::Several, AsfFile::Layout::Single, AsfFile::Layout::Small}) {
        AsfFile asf = smallFile();
        asf.layout = layout;
        std::vector<Bytes> chunks = mmshChunks(asf.bytes());
        EXPECT_EQ(asf.blocks, blocksOf(fileOf(told(mmshBody(chunks)))));
        chunks.erase(chunks.begin() + 1);
        for (Bytes const& block : blocksOf(fileOf(told(mmshBody(chunks)))))
            EXPECT_EQ(1, std::count(asf.blocks.begin(), asf.blocks.end(), block));
    }
}

TEST(MmsFraming, HostileFramingIsRefused)
{
    Bytes const header = AsfFile().header(1), packet(8);
    Bytes const whole = mmshBody(mmshHeader(header));
    Bytes const first = mmshChunk('H', 0, 4, header), last = mmshChunk('H', 1, 8, header);
    Bytes const data = mmshChunk('D', 0, 0, packet);

    std::string const noStream = refusal({{'<', 'D', 8, 0}});
    EXPECT_NE("", noStream);
    for (char kind : {'X', '\0', 'h'})
        EXPECT_EQ(noStream, refusal({whole, mmshChunk(kind, packet)}));
    for (char kind : {'H', 'D', 'M'})
        EXPECT_EQ(noStream, refusal({whole, mmshChunk(kind, Bytes(7))}));
    for (char kind : {'E', 'C'})
        EXPECT_EQ(noStream, refusal({whole, mmshChunk(kind, Bytes(3))}));

    std::string const noHeader = refusal({data});
    EXPECT_NE(noStream, noHeader);
    for (Bytes const& before :
         {first, mmshBody({whole, first}), mmshBody({whole, mmshNotice('E', 1)}),
          mmshBody({whole, mmshNotice('C', 0)})})
        EXPECT_EQ(noHeader, refusal({before, data}));
    EXPECT_EQ(refusal({first, first}), refusal({last}));
    EXPECT_EQ(refusal({last}), refusal({first, mmshNotice('C', 0), first}));
    EXPECT_EQ(refusal({mmshChunk('H', 0, 12, {})}), refusal({mmshChunk('H', 0, 12, noise(500))}));
    EXPECT_NE("", refusal({whole, mmshChunk('D', 0, 0, Bytes(1001))}));
    EXPECT_EQ("the server ended the stream with error 0x800C0D0A",
              refusal({whole, mmshNotice('E', 0x800C0D0A)}));

    AsfFile asf;
    for (std::uint32_t bytes : {0u, 65537u, 0xFFFFFFFFu}) {
        asf.packetBytes = bytes;
        EXPECT_EQ(refusal({mmshChunk('H', 0, 12, {})}), refusal(mmshHeader(asf.header(1))));
    }
    asf.packetBytes = 65536;
    EXPECT_EQ(Result::Header, told(mmshBody(mmshHeader(asf.header(1)))).at(0).result);
}

TEST(MmsFraming, AHeaderThatGrowsWithoutEndIsRefused)
{
    MmsFraming framing;
    std::vector<Told> all;
    for (int i = 0; all.empty() && i < 1000; ++i) {
        Bytes const chunk = mmshChunk('H', std::uint32_t(i), i == 0 ? 4 : 0, Bytes(65527));
        feed(framing, chunk, 0, chunk.size(), all);
    }
    EXPECT_EQ(Result::Broken, all.at(0).result);
    EXPECT_LE(framing.output().size(), MmsFraming::MostHeaderBytes);
    EXPECT_GE(framing.output().size(), MmsFraming::MostHeaderBytes - 65527);
}

/// A packet of one payload, which ends where the padding begins.
TEST(AsfPadding, IsToldAgain)
{
    Bytes const sound = noise(40);
    for (Bytes const& correction : {Bytes{}, {0x82, 0, 0}, {0x81, 8}})
        for (unsigned int type = 0; type < 4; ++type)
            for (unsigned int sequence = 0; sequence < 4; ++sequence)
                for (std::size_t missing : {0u, 1u, 2u, 3u, 254u, 255u, 256u, 257u, 65000u}) {
                    Bytes packet = correction;
                    append(packet, type << 3 | sequence << 1 | 0x5D00, 2);
                    for (unsigned int field : {sequence, type})
                        append(packet, 0, "\0\1\2\4"[field]);
                    packet.resize(packet.size() + 4 + 2); // time, duration
                    append(packet, 0x0181, 2);
                    append(packet, 0, 4);
                    append(packet, 8, 1);
                    append(packet, Bytes{40, 0, 0, 0, 9, 0, 0, 0});
                    append(packet, sound);
                    std::size_t const bytes = packet.size() + missing;
                    padAsfPacket(packet, bytes);
                    ASSERT_EQ(bytes, packet.size());
                    std::vector<AsfPayload> payloads;
                    parseAsfPacket(packet.data(), bytes, 1, payloads);
                    ASSERT_EQ(1u, payloads.size());
                    EXPECT_EQ(sound, Bytes(payloads[0].data, payloads[0].data + payloads[0].bytes))
                        << type << ' ' << sequence << ' ' << missing;
                }
}

TEST(AsfPadding, OfOtherPacketsIsZeros)
{
    for (Bytes const& packet : {Bytes{},
                                {0x82},
                                {0x82, 0, 0, 0x08, 0x5D},
                                {0xA2, 0, 0, 0, 0x5D, 1, 1}, // not to be read
                                {0x28, 0x5D, 0, 0, 9},       // tells its length
                                {0x08, 0x5D, 7, 9, 9}}) {    // had its padding told
        Bytes padded = packet, expected = packet;
        expected.resize(300);
        padAsfPacket(padded, 300);
        EXPECT_EQ(expected, padded);
    }
}

TEST(AsfPadding, PacketsAreAsLongAsTheHeaderTells)
{
    Bytes const header = smallFile().header(1);
    EXPECT_EQ(300u, asfPacketBytes(header));
    for (std::size_t bytes = 0; bytes < 30 + 104; ++bytes)
        EXPECT_EQ(0u, asfPacketBytes({header.begin(), header.begin() + long(bytes)})) << bytes;
    for (int size : {0, 23, 103, 255}) { // of the object, from too small to too large
        Bytes broken = header;
        std::fill_n(broken.begin() + 30 + 16, size == 255 ? 8 : 1, std::uint8_t(size));
        EXPECT_EQ(0u, asfPacketBytes(broken)) << size;
    }
}
