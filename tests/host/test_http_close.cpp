#include "BuildKind.h"
#include "NetworkTest.h"
#include "ScriptedServer.h"
#include "SlowNetwork.h"

#include <atomic>
#include <functional>

namespace avr { namespace test {

namespace {

constexpr unsigned int Rounds = Slow ? 20 : 200;
std::string const tune = ::noise(20000);
constexpr std::size_t Half = 10000;

/// Opens a stream and reads it on a thread of its own, until that fails.
class Listener {
public:
    explicit Listener(std::string const& url, NetworkLimits const& limits = patient())
        : stream(url, limits), m_thread([this] { listen(); })
    {}
    ~Listener() { m_thread.join(); }

    HttpStream stream;
    std::atomic<std::size_t> bytes{0};

private:
    void listen()
    {
        int result = stream.Open();
        char room[1000];
        for (unsigned int got = 0; result == 0; bytes += got)
            result = stream.Read(room, sizeof room, &got);
        EXPECT_EQ(result, Failed);
    }

    std::thread m_thread;
};

class HttpClose : public NetworkTest {
protected:
    using Wait = std::function<void(Listener&, unsigned int round)>;

    /// Closes when `reached` has returned, many times.
    void closeAt(const char* phase, std::string const& url, Wait const& reached,
                 NetworkLimits const& limits = patient())
    {
        using Clock = std::chrono::steady_clock;
        Clock::duration close{}, whole{};
        for (unsigned int round = 1; round <= Rounds; ++round) {
            Clock::time_point begun;
            {
                Listener listener(url, limits);
                reached(listener, round);
                begun = Clock::now();
                listener.stream.Close();
                close = std::max(close, Clock::now() - begun);
                EXPECT_EQ(listener.stream.GetErrorStatus(), 0) << "closing is no failure";
            }
            whole = std::max(whole, Clock::now() - begun);
        }
        auto const us = [](Clock::duration time) {
            return static_cast<long>(
                std::chrono::duration_cast<std::chrono::microseconds>(time).count());
        };
        std::printf("%s: Close took %ld us at most, what it ended %ld us\n", phase, us(close),
                    us(whole));
    }
};

} // namespace

TEST_F(HttpClose, WhileTheSystemLooksForTheHost)
{
    ScriptedServer const server([](Request const&, Answer&) {});
    SlowResolver const resolver;
    std::string const url =
        std::string("http://") + SlowResolver::SlowHost + ':' + std::to_string(server.port()) + '/';
    closeAt("resolve", url,
            [&](Listener&, unsigned int round) { resolver.waitForQuestions(round); });
    EXPECT_EQ(server.requests().size(), 0u);
}

TEST_F(HttpClose, WhileItConnects)
{
    DeadPort const dead;
    unsigned int const own = attemptsAt(dead.port());
    closeAt("connect", loopbackUrl(dead.port(), "/"),
            [&](Listener&, unsigned int round) { waitForAttempts(dead.port(), own + round); });
}

TEST_F(HttpClose, BeforeTheHead)
{
    ScriptedServer const server([](Request const&, Answer& to) { to.stall(); });
    closeAt("head", server.url(),
            [&](Listener&, unsigned int round) { server.waitForRequests(round); });
}

TEST_F(HttpClose, WhileTheBodyStalls)
{
    ScriptedServer const server([](Request const& request, Answer& to) {
        giveFile(request, to, tune, Half);
        to.stall();
    });
    closeAt("stall", server.url(), [](Listener& listener, unsigned int) {
        EXPECT_TRUE(eventually([&] { return listener.bytes == Half; }));
    });
}

TEST_F(HttpClose, WhileBytesDrip)
{
    ScriptedServer const server([](Request const& request, Answer& to) {
        to.send(fileHead(request, tune));
        to.drip(tune, 200);
    });
    closeAt("drip", server.url(), [](Listener& listener, unsigned int) {
        EXPECT_TRUE(eventually([&] { return listener.bytes != 0; }));
    });
}

TEST_F(HttpClose, BetweenTwoAttempts)
{
    ScriptedServer const server(
        [](Request const& request, Answer& to) { giveFile(request, to, tune, Half); });
    NetworkLimits limits = patient();
    limits.pause = std::chrono::minutes(10);
    closeAt(
        "pause", server.url(),
        [](Listener& listener, unsigned int) {
            EXPECT_TRUE(eventually([&] {
                HttpStream::Status const status = listener.stream.status();
                return status.phase == HttpStream::Phase::Reconnecting && status.attempt == 1;
            }));
        },
        limits);
}

TEST_F(HttpClose, WhileItConnectsAgain)
{
    ScriptedServer const server([](Request const& request, Answer& to) {
        if (request.number % 2 == 0)
            return to.stall();
        giveFile(request, to, tune, Half);
    });
    closeAt("reconnect", server.url(),
            [&](Listener&, unsigned int round) { server.waitForRequests(2 * round); });
}

TEST_F(HttpClose, WhileASeekWaits)
{
    ScriptedServer const server([](Request const& request, Answer& to) {
        if (request.first() == 0)
            giveFile(request, to, tune, Half);
        to.stall();
    });
    for (unsigned int round = 1; round <= Rounds; ++round) {
        HttpStream stream(server.url(), patient());
        ASSERT_EQ(stream.Open(), 0);
        std::thread seeker([&] { EXPECT_EQ(stream.SeekByte(100), Failed); });
        server.waitForRequests(2 * round);
        stream.Close();
        seeker.join();
    }
}

TEST_F(HttpClose, AtAnyMoment)
{
    ScriptedServer const server([](Request const& request, Answer& to) {
        giveFile(request, to, tune, request.number % 2 == 0 ? Half : tune.size());
    });
    HttpStream stream(server.url(), patient());
    {
        Closer const closer(stream);
        for (unsigned int round = 0; round < 5 * Rounds; ++round) {
            stream.Open();
            Reading const all = readAll(stream);
            EXPECT_TRUE(all.bytes == tune.substr(0, all.bytes.size()));
            EXPECT_EQ(stream.GetErrorStatus(), 0) << stream.errorText();
            stream.Close();
        }
    }
    EXPECT_EQ(stream.Open(), 0);
    EXPECT_TRUE(readAll(stream).bytes == tune);
}

}} // namespace avr::test
