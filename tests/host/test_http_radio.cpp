#include "NetworkTest.h"
#include "ScriptedServer.h"
#include "platform/BufferStream.h"

#include <boost/make_shared.hpp>

namespace avr { namespace test {

namespace {

constexpr std::size_t Interval = 1000;
class Radio : public NetworkTest {};

std::string block(std::string text)
{
    text = text.empty() ? text : "StreamTitle='" + text + "';";
    text.resize((text.size() + 15) / 16 * 16);
    return char(text.size() / 16) + text;
}

} // namespace

/// A title is told when its audio is, not when it has come.
TEST_F(Radio, TellsTitlesWhenTheyAreHeard)
{
    std::string const audio = ::noise(5 * Interval);
    std::string body;
    const char* const titles[] = {"One", "", "Two", "Three"};
    for (std::size_t part = 0; part < 5; ++part)
        body += audio.substr(part * Interval, Interval) + (part < 4 ? block(titles[part]) : "");
    for (const char* status : {"HTTP/1.1 200 OK\r\n", "ICY 200 OK\r\n"}) {
        ScriptedServer server([&](Request const&, Answer& to) {
            to.send(status +
                    std::string("icy-name: Some Radio\r\nicy-metaint:1000\r\n"
                                "Accept-Ranges: bytes\r\nContent-Length: 5000\r\n"
                                "content-type: Audio/MPEG; x=y\r\n\r\n") +
                    body);
        });
        auto const below = boost::make_shared<HttpStream>(server.url("/live"), patient());
        kiv::appli::BufferStream stream(below);
        ASSERT_EQ(stream.Open(), 0) << below->errorText();
        EXPECT_EQ(below->contentType(), "audio/mpeg");
        EXPECT_EQ(stream.GetCapabilities(), 0);
        EXPECT_EQ(length(stream), "as it was");
        EXPECT_EQ(server.requests()[0].headers["icy-metadata"], "1");
        stream.StartBuffering();
        std::string heard, told;
        EXPECT_TRUE(eventually([&] {
            Reading const more = readUpTo(stream, 500);
            heard += more.bytes;
            if (auto const title = below->newTitle())
                told += *title + '@' + std::to_string(heard.size()) + ' ';
            return more.result == End;
        }));
        EXPECT_TRUE(heard == audio.substr(0, heard.size()));
        EXPECT_EQ(told, "One@1000 Two@3000 Three@4000 ");
    }
}

/// Ten thousand titles of which nobody hears one.
TEST_F(Radio, KeepsFewTitlesInMind)
{
    ScriptedServer server([](Request const&, Answer& to) {
        std::string body;
        for (int part = 0; part < 10000; ++part)
            body += 'a' + block(std::to_string(part));
        to.send(head("200 OK", "icy-metaint: 1\r\n") + body);
    });
    HttpStream stream(server.url(), patient());
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(readAll(stream).bytes, std::string(10000, 'a'));
    stream.taken(9900);
    EXPECT_FALSE(stream.newTitle()) << "forgotten";
    stream.taken(10000);
    for (int number = 9900; number < 10000; ++number)
        EXPECT_EQ(stream.newTitle(), std::to_string(number)) << "each is told, in their order";
    EXPECT_FALSE(stream.newTitle());
}

}} // namespace avr::test
