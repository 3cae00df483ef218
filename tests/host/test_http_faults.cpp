#include "NetworkTest.h"
#include "ScriptedServer.h"
#include "SlowNetwork.h"

namespace avr { namespace test {

namespace {

std::string const tune = ::noise(300000);
constexpr std::size_t Half = 150000;
class HttpFaults : public NetworkTest {};

NetworkLimits hasty() { return {milliseconds(100), milliseconds(100), milliseconds(1)}; }

/// Opens, and reads while that goes. @return why there is no more
std::string faultAt(std::string const& url, NetworkLimits const& limits = patient())
{
    HttpStream stream(url, limits);
    stream.Open();
    EXPECT_EQ(readAll(stream).result, Failed);
    EXPECT_EQ(readAll(stream).result, Failed) << "for good";
    EXPECT_NE(stream.GetErrorStatus(), 0);
    return stream.errorText();
}

std::string faultOf(ScriptedServer::Script script, NetworkLimits const& limits = patient())
{
    ScriptedServer const server(std::move(script));
    return faultAt(server.url(), limits);
}

std::string faultOfAnswer(std::string const& answer)
{
    return faultOf([&](Request const&, Answer& to) { to.send(answer); });
}

} // namespace

TEST_F(HttpFaults, ADropIsNotNoticed)
{
    for (bool const resets : {false, true}) {
        ScriptedServer server([&](Request const& request, Answer& to) {
            std::size_t const end = request.number <= 3 ? request.number * 50000 : tune.size();
            giveFile(request, to, tune, end, "ETag: \"a\"\r\nLast-Modified: b\r\n");
            if (resets && request.number == 3)
                to.reset();
        });
        HttpStream stream(server.url(), patient());
        ASSERT_EQ(stream.Open(), 0);
        Reading const all = readAll(stream);
        EXPECT_TRUE(all.bytes == tune) << all.bytes.size();
        EXPECT_EQ(all.result, End);
        EXPECT_EQ(stream.GetErrorStatus(), 0);
        auto requests = server.requests();
        ASSERT_EQ(requests.size(), 4u);
        EXPECT_EQ(requests[1].headers["range"], "bytes=50000-");
        EXPECT_EQ(requests[1].headers["if-range"], "\"a\"");
    }
}

/// Before that all is delivered that has come.
TEST_F(HttpFaults, AProxysWordIsNotTheServersAnswer)
{
    ScriptedServer const proxy([](Request const& request, Answer& to) {
        EXPECT_EQ(request.method, "CONNECT");
        to.send("HTTP/1.1 200 Connection established\r\n\r\nthis is no TLS");
    });
    ::setenv("https_proxy", proxy.url("/").c_str(), 1);
    ::unsetenv("no_proxy");
    std::string const fault = faultAt("https://radio.invalid/x.mp3");
    ::unsetenv("https_proxy");
    ::setenv("no_proxy", "*", 1);
    EXPECT_EQ(proxy.requests().size(), 1u);
    EXPECT_EQ(fault.find("status"), std::string::npos) << fault;
}

TEST_F(HttpFaults, ThreeAttemptsAreMade)
{
    struct Case {
        ScriptedServer::Script resume;
        int error;
        const char* words;
    };
    for (Case const &refusal :
         {Case{[](Request const&, Answer&to) { to.send(head("503 Busy")); }, EBUSY,
               "the server is too busy (status 503); try again later"},
          Case{[](Request const&, Answer&) {}, ECONNRESET, "the connection to 127.0.0.1 broke"},
          Case{[](Request const&request, Answer&to) { giveFile(request, to, tune, Half); },
               ECONNRESET, "the connection to 127.0.0.1 broke"},
          Case{[](Request const&, Answer&to) {
                   to.send(head("206 Part", "Content-Length: 0\r\n"
                                            "Content-Range: bytes 150000-150000/300000\r\n"));
               },
               ECONNRESET, "the server ended before the end of the file"}}) {
        ScriptedServer server([&](Request const& request, Answer& to) {
            if (request.number > 1)
                return refusal.resume(request, to);
            giveFile(request, to, tune, Half, "Last-Modified: b\r\nETag: W/\"weak\"\r\n");
        });
        HttpStream stream(server.url(), patient());
        ASSERT_EQ(stream.Open(), 0);
        Reading const all = readAll(stream);
        EXPECT_TRUE(all.bytes == tune.substr(0, Half)) << all.bytes.size();
        EXPECT_EQ(all.result, Failed);
        EXPECT_EQ(stream.GetErrorStatus(), refusal.error);
        EXPECT_EQ(stream.errorText(), refusal.words);
        EXPECT_EQ(readAll(stream).result, Failed);
        auto requests = server.requests();
        ASSERT_EQ(requests.size(), 4u);
        EXPECT_EQ(requests[3].headers["if-range"], "b");
    }
}

TEST_F(HttpFaults, OnlyTheSameFileIsResumed)
{
    std::string const longer = tune + "more";
    ScriptedServer::Script const resumes[] = {
        // Parts are not given any more, or If-Range tells that it is another file.
        [](Request const&, Answer& to) { to.send(head("200 OK", "Content-Length: 300000\r\n")); },
        [](Request const&, Answer& to) {
            to.send(head("206 Part", "Content-Range: bytes 149999-299999/300000\r\n") + tune);
        },
        [&](Request const& request, Answer& to) { giveFile(request, to, longer); },
        [](Request const&, Answer& to) { to.send(head("206 Part") + tune); },
    };
    for (auto const& resume : resumes) {
        ScriptedServer const server([&](Request const& request, Answer& to) {
            if (request.number > 1)
                return resume(request, to);
            giveFile(request, to, tune, Half);
        });
        EXPECT_EQ(faultAt(server.url()), "the file on the server is not the same any more");
        EXPECT_EQ(server.requests().size(), 2u) << "another try would end so, too";
    }
}

TEST_F(HttpFaults, ASeekRevivesWhatWasLost)
{
    std::atomic<bool> isWell{false};
    ScriptedServer const server([&](Request const& request, Answer& to) {
        if (request.number == 1)
            giveFile(request, to, tune, Half);
        else if (isWell)
            giveFile(request, to, tune);
    });
    HttpStream stream(server.url(), patient());
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(readAll(stream).result, Failed);
    EXPECT_EQ(stream.SeekByte(7), Failed);
    EXPECT_NE(stream.GetErrorStatus(), 0) << "it is still lost";
    isWell = true;
    EXPECT_EQ(stream.SeekByte(7), 0);
    EXPECT_TRUE(readAll(stream).bytes == tune.substr(7));
    EXPECT_EQ(stream.GetErrorStatus(), 0);
}

TEST_F(HttpFaults, WrongLengths)
{
    struct Case {
        std::string answer, bytes;
        int result;
    };
    for (Case const& wrong :
         {Case{head("200 OK", "Content-Length: 5\r\n") + "1234567", "12345", End},
          Case{head("200 OK", "Content-Length: 9\r\n") + "1234567", "1234567", Failed},
          Case{head("200 OK", "Content-Length: 9\r\nTransfer-Encoding: chunked\r\n") +
                   "3\r\n123\r\n0\r\n\r\n",
               "123", End},
          Case{head("200 OK", "Transfer-Encoding: chunked\r\n") + "3\r\n123\r\n9\r\n45", "12345",
               Failed},
          // A part of what was asked for, as it may be.
          Case{head("206 Part", "Content-Length: 3\r\nContent-Range: bytes 0-2/9\r\n") + "123",
               "123123123", End},
          Case{head("200 OK") + "1234567", "1234567", End}}) {
        ScriptedServer const server([&](Request const& request, Answer& to) {
            std::string answer = wrong.answer;
            std::size_t const range = answer.find("bytes 0-2");
            if (range != std::string::npos)
                answer.replace(range + 6, 1, std::to_string(request.first()));
            to.send(answer);
        });
        HttpStream stream(server.url(), patient());
        ASSERT_EQ(stream.Open(), 0);
        Reading const all = readAll(stream);
        EXPECT_EQ(all.bytes, wrong.bytes) << wrong.answer;
        EXPECT_EQ(all.result, wrong.result) << wrong.answer;
        EXPECT_EQ(stream.errorText().empty(), wrong.result == End);
    }
}

TEST_F(HttpFaults, NumbersBeyondAllFilesAreNone)
{
    std::string const huge = "99999999999999999999";
    for (std::string const& answer : {head("206 Part", "Content-Range: bytes 0-6/" + huge + "\r\n"),
                                      head("206 Part", "Content-Range: bytes 0-6/-7\r\n")}) {
        ScriptedServer const server(
            [&](Request const&, Answer& to) { to.send(answer + "1234567"); });
        HttpStream stream(server.url(), patient());
        ASSERT_EQ(stream.Open(), 0);
        EXPECT_EQ(length(stream), "as it was");
        EXPECT_EQ(stream.GetCapabilities(), 0);
        EXPECT_EQ(readAll(stream).result, End);
    }
}

TEST_F(HttpFaults, EveryRefusalHasItsWords)
{
    struct Case {
        const char *status, *words;
    };
    for (Case const& refusal :
         {Case{"401 x", "the server does not give it to everybody (status 401)"},
          Case{"403 x", "the server does not give it to everybody (status 403)"},
          Case{"404 x", "the server does not have it (status 404); check the address"},
          Case{"410 x", "the server does not have it (status 410); check the address"},
          Case{"416 x", "the file on the server is empty; there is nothing to play"},
          Case{"429 x", "the server is too busy (status 429); try again later"},
          Case{"500 x", "the server has a problem (status 500); try again later"},
          Case{"503 x", "the server is too busy (status 503); try again later"},
          Case{"204 x", "the server does not answer with it (status 204)"},
          Case{"304 x", "the server does not answer with it (status 304)"},
          Case{"418 x", "the server does not answer with it (status 418)"}})
        EXPECT_EQ(faultOfAnswer(head(refusal.status) + "words of the server's"), refusal.words);
    EXPECT_EQ(faultOfAnswer(head("206 x", "Content-Range: bytes 5-9/10\r\n") + "12345"),
              faultOfAnswer(head("206 x", "Content-Range: bytes */10\r\n") + "12345"));
}

TEST_F(HttpFaults, WrongWays)
{
    std::string const nobody = loopbackUrl(listenOnLoopback(1).port(), "/");
    EXPECT_EQ(faultAt(nobody), "127.0.0.1 refuses the connection; check the address and its port");
    EXPECT_EQ(
        faultAt(std::string("http://") + NoHost),
        "no host of the name none.test is found; check the address and the network connection");
    EXPECT_EQ(faultAt("nothing://x"), "this is no address of http or https; check it");
    EXPECT_EQ(faultAt("http://a b/"), "this is no address of http or https; check it");
    for (const char* target : {"file:///etc/passwd", "ftp://127.0.0.1/x"})
        EXPECT_EQ(faultOfAnswer(head("302 x", std::string("Location: ") + target + "\r\n")),
                  "the server sends it on to what is no address of http or https");
    EXPECT_EQ(faultOfAnswer(head("302 x", "Location: \r\n") + "a page"),
              "the server does not answer with it (status 302)");
    EXPECT_EQ(faultOfAnswer(head("302 x", "Location: /again\r\n")),
              "the server sends it on again and again");
}

TEST_F(HttpFaults, NoAnswerOfAWebServer)
{
    EXPECT_EQ(faultOfAnswer(""), "the connection to 127.0.0.1 broke");
    EXPECT_EQ(faultOfAnswer("HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg"),
              "the server's answer is broken");
    for (std::string const& garbage : {::noise(5000), std::string("220 mail.example ready\r\n")})
        EXPECT_EQ(faultOfAnswer(garbage), "127.0.0.1 does not answer as a web server does");
    std::string many;
    while (many.size() < 70000)
        many += "X-Filler: something\r\n";
    EXPECT_EQ(faultOfAnswer(head("200 OK", many)), "the server's answer is too long");
    for (std::size_t const size : {70000u, 3000000u}) {
        std::string const headers = "X-Filler: " + std::string(size, 'x') + "\r\n";
        EXPECT_EQ(faultOfAnswer(head("200 OK", headers)).find("the server's answer is"), 0u);
    }
}

TEST_F(HttpFaults, WaitingHasLimits)
{
    NetworkLimits answersSoon = patient();
    answersSoon.stall = std::chrono::seconds(1);
    std::string const silence = "the server does not answer; try again later";
    auto const never = [](Request const&, Answer& to) { to.stall(); };
    EXPECT_EQ(faultOf(never, hasty()), silence);
    EXPECT_EQ(faultOf(
                  [&](Request const&, Answer& to) {
                      to.send("HTTP/1.1 200 OK\r\n");
                      to.drip("X-Filler: " + std::string(100000, 'x'), 200);
                  },
                  answersSoon),
              silence);
    DeadPort const dead;
    EXPECT_EQ(faultAt(loopbackUrl(dead.port(), "/"), hasty()), silence);
    {
        SlowResolver const resolver;
        EXPECT_EQ(faultAt(std::string("http://") + SlowResolver::SlowHost, hasty()),
                  "the host is not found in time; check the network connection");
    }
    for (std::size_t const upTo : {std::size_t(0), Half})
        EXPECT_EQ(faultOf(
                      [upTo](Request const& request, Answer& to) {
                          giveFile(request, to, tune, upTo);
                          to.stall();
                      },
                      answersSoon),
                  "the server sends nothing more; try again later");
}

TEST_F(HttpFaults, ASlowServerIsNoSilentOne)
{
    ScriptedServer const server([](Request const& request, Answer& to) {
        to.send(fileHead(request, "a slow stream"));
        to.drip("a slow stream", 10);
    });
    NetworkLimits limits = patient();
    limits.stall = std::chrono::seconds(1);
    HttpStream stream(server.url(), limits);
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(readAll(stream).bytes, "a slow stream");
}

}} // namespace avr::test
