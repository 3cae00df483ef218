#include "BuildKind.h"
#include "MmsStream.h"
#include "MmshServer.h"
#include "NetworkTest.h"
#include "TestData.h"

#include <atomic>

namespace avr { namespace test {

namespace {

using host::MmsStream;

class Mms : public NetworkTest {
protected:
    Bytes const file = testData("wma2.wma"), other = testData("wma1.wma");
    std::vector<Bytes> const chunks = mmshChunks(file);
};

/// Why there is no stream, or no more.
std::string faultOf(std::string const& url, NetworkLimits const& limits = patient())
{
    MmsStream stream(url, limits);
    stream.Open();
    EXPECT_EQ(readAll(stream).result, Failed);
    EXPECT_EQ(readAll(stream).result, Failed) << "for good";
    EXPECT_NE(stream.GetErrorStatus(), 0);
    return stream.errorText();
}

} // namespace

TEST_F(Mms, AStreamIsTheFile)
{
    MmshServer const server(chunks);
    MmsStream stream(server.url(), patient());
    for (int round = 0; round < 2; ++round) { // again after Close, and then from the start
        ASSERT_EQ(stream.Open(), 0) << stream.errorText();
        std::string value;
        EXPECT_EQ(stream.GetStreamProperty(MmsStream::Address, value), 0);
        EXPECT_EQ(value, server.url());
        EXPECT_EQ(length(stream), "as it was");
        EXPECT_EQ(stream.GetCapabilities(), 0);
        EXPECT_EQ(stream.SeekByte(0), NotSupported);
        EXPECT_EQ(stream.contentType(), "audio/x-ms-wma");
        Reading const all = readAll(stream);
        EXPECT_TRUE(all.bytes == textOf(file)) << all.bytes.size();
        EXPECT_EQ(all.result, End);
        EXPECT_EQ(readAll(stream).result, End);
        EXPECT_FALSE(stream.takeNext());
        stream.Close();
        EXPECT_EQ(stream.GetErrorStatus(), 0);
    }
    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 4u);
    EXPECT_NE(requests[1].headers["pragma"].find("stream-switch-entry=ffff:1:0"), std::string::npos)
        << requests[1].headers["pragma"];
}

/// With a word of it, or without.
TEST_F(Mms, AnotherFileInTheMiddleIsAnotherStream)
{
    for (int const kind : {0, 1, 2}) {
        std::vector<Bytes> body = chunks;
        body.pop_back();
        if (kind != 0)
            body.push_back(mmshNotice(kind == 1 ? 'C' : 'E', kind == 1 ? 0 : 1));
        for (Bytes const& chunk : mmshChunks(other))
            body.push_back(chunk);
        MmshServer const server(body);
        MmsStream first(server.url(), patient());
        ASSERT_EQ(first.Open(), 0);
        EXPECT_TRUE(readAll(first).bytes == textOf(file));
        EXPECT_EQ(readAll(first).result, End);
        auto const next = first.takeNext();
        ASSERT_TRUE(next);
        first.Close();
        ASSERT_EQ(next->Open(), 0) << next->errorText();
        Reading const rest = readAll(*next);
        EXPECT_TRUE(rest.bytes == textOf(other)) << kind << ' ' << rest.bytes.size();
        EXPECT_EQ(rest.result, End);
        EXPECT_FALSE(next->takeNext());
        EXPECT_EQ(server.requests().size(), 2u);
    }
}

TEST_F(Mms, ABrokenStreamSaysWhy)
{
    std::vector<Bytes> early = chunks;
    early.pop_back();
    MmshServer const ends(early);
    MmsStream stream(ends.url(), patient());
    ASSERT_EQ(stream.Open(), 0);
    Reading const all = readAll(stream);
    EXPECT_TRUE(all.bytes == textOf(file)) << "what has come is delivered";
    EXPECT_EQ(all.result, Failed);
    EXPECT_EQ(stream.errorText(), "the server broke the stream off");

    std::vector<Bytes> garbage = chunks;
    garbage[2] = noise(500, 1);
    MmshServer const hostile(garbage), noHeader({chunks[1], chunks.back()}), empty({Bytes()}),
        ended({chunks.back()});
    EXPECT_EQ(faultOf(hostile.url()), "the server does not send a sound stream: what the server "
                                      "sends is no MMS stream");
    EXPECT_EQ(faultOf(noHeader.url()), "the server does not send a sound stream: the stream does "
                                       "not begin with its header");
    EXPECT_EQ(faultOf(empty.url()), "the server does not send a stream");
    EXPECT_EQ(faultOf(ended.url()), "the server does not send the stream");
    ScriptedServer const missing([](Request const&, Answer& to) { to.send(head("404 x")); });
    EXPECT_EQ(faultOf("mms://127.0.0.1:" + std::to_string(missing.port()) + "/"),
              "the server does not have it (status 404); check the address");
}

TEST_F(Mms, AStallHasALimitAndClose)
{
    std::vector<Bytes> const some(chunks.begin(), chunks.begin() + 2);
    MmshServer const server(some, true);
    NetworkLimits limits = patient();
    limits.stall = std::chrono::seconds(1);
    EXPECT_EQ(faultOf(server.url(), limits), "the server sends nothing more; try again later");
    for (int round = 0; round < (Slow ? 20 : 200); ++round) {
        MmsStream stream(server.url(), patient());
        std::atomic<bool> reads{false};
        std::thread reader([&] {
            EXPECT_EQ(stream.Open(), 0);
            readUpTo(stream, some[0].size());
            reads = true;
            EXPECT_EQ(readAll(stream).result, Failed);
        });
        EXPECT_TRUE(eventually([&] { return reads.load(); }));
        stream.Close();
        reader.join();
        EXPECT_EQ(stream.GetErrorStatus(), 0);
    }
}

TEST_F(Mms, CloseAtAnyMoment)
{
    MmshServer const server(chunks);
    MmsStream stream(server.url(), patient());
    Closer const closer(stream);
    for (int round = 0; round < (Slow ? 100 : 1000); ++round) {
        stream.Open();
        std::string const bytes = readAll(stream).bytes;
        EXPECT_TRUE(bytes == textOf(file).substr(0, bytes.size()));
        EXPECT_EQ(stream.GetErrorStatus(), 0) << stream.errorText();
        stream.Close();
    }
}

}} // namespace avr::test
