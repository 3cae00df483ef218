#include "NetworkTest.h"
#include "ScriptedServer.h"
#include "WebServer.h"
#include "platform/BufferStream.h"

#include <atomic>
#include <boost/make_shared.hpp>

namespace avr { namespace test {

namespace {

std::string const tune = ::noise(300000);
constexpr std::size_t Half = 150000;

class HttpFiles : public NetworkTest {
protected:
    WebServer server;
};
class HttpScripts : public NetworkTest {};

std::string property(HttpStream& stream, HttpStream::Property key)
{
    std::string value;
    EXPECT_EQ(stream.GetStreamProperty(key, value), 0);
    return value;
}

} // namespace

TEST_F(HttpFiles, AreAsTheServerHasThem)
{
    struct Case {
        const char *path, *type;
    };
    for (Case const& file :
         {Case{"/tune.mp3", "audio/mpeg"}, Case{"/tune.flac", "audio/flac"},
          Case{"/moved/tune.mp3", "audio/mpeg"}, Case{"/list.m3u", "audio/x-mpegurl"}}) {
        server.serve("tune.mp3", tune);
        server.serve("tune.flac", tune);
        server.serve("list.m3u", tune);
        HttpStream stream(server.url(file.path), patient());
        EXPECT_LT(stream.IsOpened(), 0);
        EXPECT_EQ(readAll(stream).result, Failed) << "not open";
        for (int round = 0; round < 2; ++round) { // again after Close, and then from the start
            ASSERT_EQ(stream.Open(), 0) << stream.errorText();
            EXPECT_EQ(stream.Open(), 0) << "open already";
            EXPECT_EQ(readUpTo(stream, 100).bytes, tune.substr(0, 100));
            EXPECT_EQ(length(stream), "300000");
            EXPECT_EQ(property(stream, HttpStream::Address), server.url(file.path));
            EXPECT_EQ(property(stream, HttpStream::StreamType), "http:inet");
            EXPECT_EQ(stream.GetCapabilities(), HttpStream::CanSeekByte);
            EXPECT_EQ(stream.SeekTime(1), NotSupported);
            EXPECT_EQ(stream.contentType(), file.type);
            if (round == 0)
                stream.Close();
        }
        Reading const rest = readAll(stream);
        EXPECT_EQ(rest.bytes, tune.substr(100));
        EXPECT_EQ(rest.result, End);
        EXPECT_EQ(stream.GetErrorStatus(), 0);
    }
}

TEST_F(HttpFiles, WithoutALengthOnlyGoForward)
{
    server.serve("tune", tune);
    HttpStream stream(server.url("/live.cgi?tune"), patient());
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(length(stream), "as it was");
    EXPECT_EQ(stream.GetCapabilities(), 0);
    EXPECT_EQ(readUpTo(stream, 100).bytes, tune.substr(0, 100));
    EXPECT_EQ(stream.SeekByte(0), NotSupported);
    EXPECT_EQ(readAll(stream).bytes, tune.substr(100));
}

TEST_F(HttpFiles, ArePositionedAnywhere)
{
    server.serve("tune.mp3", tune);
    HttpStream stream(server.url("/tune.mp3"), patient());
    EXPECT_LT(stream.SeekByte(0), 0) << "not open";
    ASSERT_EQ(stream.Open(), 0);
    std::size_t const size = tune.size();
    for (std::size_t const at : {size, Half, size - 1, std::size_t(0), size, std::size_t(1)}) {
        ASSERT_EQ(stream.SeekByte(static_cast<long long>(at)), 0);
        for (long long const nowhere : {-1LL, 300001LL, 1LL << 40})
            EXPECT_LT(stream.SeekByte(nowhere), 0);
        Reading const rest = readAll(stream);
        EXPECT_TRUE(rest.bytes == tune.substr(at)) << at;
        EXPECT_EQ(rest.result, End);
    }
    EXPECT_EQ(stream.GetErrorStatus(), 0);
}

TEST_F(HttpFiles, ThatAreNotGivenSayWhy)
{
    server.serve("secret.denied", tune);
    server.serve("empty.mp3", "");
    HttpStream missing(server.url("/missing.mp3"), patient());
    HttpStream denied(server.url("/secret.denied"), patient());
    EXPECT_EQ(missing.Open(), Failed);
    EXPECT_EQ(missing.errorText(), "the server does not have it (status 404); check the address");
    missing.Close();
    EXPECT_EQ(missing.GetErrorStatus(), ENOENT) << "kept over Close";
    server.serve("missing.mp3", tune);
    EXPECT_EQ(missing.Open(), 0);
    EXPECT_EQ(missing.GetErrorStatus(), 0);
    EXPECT_EQ(missing.errorText(), "");
    EXPECT_EQ(denied.Open(), Failed);
    EXPECT_EQ(denied.GetErrorStatus(), EACCES);
    HttpStream empty(server.url("/empty.mp3"), patient());
    EXPECT_TRUE(empty.Open() < 0 || readAll(empty).result == End);
}

TEST_F(HttpScripts, ASeekEndsAReadInProgress)
{
    ScriptedServer server([](Request const& request, Answer& to) {
        if (request.number == 3)
            return to.send(head("503 Busy"));
        giveFile(request, to, tune, request.number == 1 ? Half : tune.size());
        to.stall();
    });
    HttpStream stream(server.url(), patient());
    ASSERT_EQ(stream.Open(), 0);
    std::atomic<std::size_t> bytes{0};
    std::thread reader([&] {
        std::string room(1000, '\0');
        unsigned int got = 0;
        int result = 0;
        while ((result = stream.Read(room.data(), 1000, &got)) == 0)
            bytes += got;
        EXPECT_EQ(result, NothingYet);
    });
    EXPECT_TRUE(eventually([&] { return bytes == Half; }));
    EXPECT_EQ(stream.SeekByte(200000), 0);
    reader.join();
    EXPECT_EQ(stream.SeekByte(0), Failed);
    Reading rest = readUpTo(stream, 100000);
    if (rest.result == NothingYet) // an interruption that came too late
        rest = readUpTo(stream, 100000);
    EXPECT_TRUE(rest.bytes == tune.substr(200000)) << "a failed seek has changed nothing";
    EXPECT_EQ(stream.GetErrorStatus(), 0);
}

TEST_F(HttpScripts, UnderAReadAheadBuffer)
{
    ScriptedServer server([](Request const& request, Answer& to) {
        giveFile(request, to, tune, request.number == 1 ? Half : tune.size());
        if (request.number == 1)
            to.stall();
    });
    auto const below = boost::make_shared<HttpStream>(server.url(), patient());
    kiv::appli::BufferStream stream(below);
    stream.SetStartThreashold(1000);
    ASSERT_EQ(stream.Open(), 0);
    stream.StartBuffering();
    EXPECT_EQ(stream.WaitForReadable(60000, {}), 0);
    EXPECT_TRUE(eventually(
        [&] { return readAll(stream).result == NothingYet && stream.GetPosition() == Half; }));
    EXPECT_EQ(stream.SeekByte(Half - 60000), 0);
    EXPECT_TRUE(readUpTo(stream, 60000).bytes == tune.substr(Half - 60000, 60000)) << "history";
    EXPECT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(stream.SeekByte(200000), 0) << "while the stream below waits";
    std::string rest;
    EXPECT_TRUE(eventually([&] {
        Reading const more = readAll(stream);
        rest += more.bytes;
        return more.result == End;
    }));
    EXPECT_TRUE(rest == tune.substr(200000));
    below->Close();
}

/// The reader may be just in front of its Read.
TEST_F(HttpScripts, AnInterruptionIsNotLostBetweenReads)
{
    ScriptedServer server([](Request const& request, Answer& to) {
        giveFile(request, to, tune, Half);
        to.stall();
    });
    HttpStream stream(server.url(), patient());
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(readUpTo(stream, Half).result, 0);
    stream.interruptRead();
    EXPECT_EQ(readAll(stream).result, NothingYet);
    stream.interruptRead();
    EXPECT_EQ(stream.SeekByte(Half - 100), 0);
    EXPECT_EQ(readUpTo(stream, 100).bytes, tune.substr(Half - 100, 100)) << "it was for the seek";
}

TEST_F(HttpScripts, ASeekEndsConnectingAgain)
{
    for (bool const isAsked : {false, true}) {
        ScriptedServer server([](Request const& request, Answer& to) {
            if (request.number == 2 && request.first() == Half)
                return to.stall();
            giveFile(request, to, tune, request.number == 1 ? Half : tune.size());
        });
        NetworkLimits limits = patient();
        limits.pause = isAsked ? milliseconds(1) : std::chrono::minutes(10);
        HttpStream stream(server.url(), limits);
        ASSERT_EQ(stream.Open(), 0);
        std::thread reader([&] { EXPECT_EQ(readAll(stream).result, NothingYet); });
        if (isAsked)
            server.waitForRequests(2);
        EXPECT_TRUE(
            eventually([&] { return stream.status().phase == HttpStream::Phase::Reconnecting; }));
        EXPECT_EQ(stream.SeekByte(200000), 0);
        reader.join();
        EXPECT_EQ(stream.status().phase, HttpStream::Phase::Open);
        EXPECT_TRUE(readAll(stream).bytes == tune.substr(200000));
    }
}

}} // namespace avr::test
