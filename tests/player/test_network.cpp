// avrplay with addresses: a real web server, and one that does what a real one will not do.
#include "PlayerProcess.h"

#include "MmshBody.h"
#include "ScriptedServer.h"
#include "WebServer.h"

#include <gtest/gtest.h>

using namespace avr::test;

namespace {

const std::string kSamples = AVR_SAMPLES "/";

std::string sample(std::string const& name) { return contentOf(kSamples + name); }

std::string pcmOf(Words const& words)
{
    Words command = {"-q", "-o", "raw:-"};
    command.insert(command.end(), words.begin(), words.end());
    return play(command).out;
}

/// A radio station's answer: behind every 4000 bytes of sound stands a title, or none.
std::string radio(std::string const& sound, std::vector<std::string> const& titles)
{
    std::string body = "ICY 200 OK\r\nicy-metaint: 4000\r\nContent-Type: audio/mpeg\r\n\r\n";
    for (std::size_t at = 0, block = 0; at + 4000 <= sound.size(); at += 4000, ++block) {
        std::string text = block < titles.size() ? "StreamTitle='" + titles[block] + "';" : "";
        text.resize((text.size() + 15) / 16 * 16);
        body += sound.substr(at, 4000) + char(text.size() / 16) + text;
    }
    return body;
}

std::string text(Bytes const& bytes) { return {bytes.begin(), bytes.end()}; }

/// The body of a media server's answer: the header alone, or what it plays.
/// @param end  what stands there in place of the last chunk
std::string mms(Request const& request, std::string const& asf, std::string const& end)
{
    std::vector<Bytes> chunks = mmshChunks(Bytes(asf.begin(), asf.end()));
    bool const plays =
        request.headers.at("pragma").find("stream-switch-entry=ffff:1:0") != std::string::npos;
    std::string body;
    for (Bytes const& chunk : chunks)
        if (chunk[1] == 'H' || (plays && chunk[1] == 'D'))
            body += text(chunk);
    return plays ? body + end : body;
}

} // namespace

TEST(Network, EveryFormatIsTheLocalFiles)
{
    WebServer const server;
    for (std::string const name :
         {"tune.wav", "tune.flac", "tune.ogg", "tune-cbr.mp3", "tune.aac", "tune.m4a", "tune.adif",
          "tune-he.aac", "tune.wma", "tune-lossless.wma"}) {
        server.serve(name, sample(name));
        std::string const local = pcmOf({kSamples + name});
        EXPECT_FALSE(local.empty());
        EXPECT_TRUE(pcmOf({server.url('/' + name)}) == local) << name;
    }
    EXPECT_TRUE(pcmOf({server.url("/moved/tune.flac")}) == pcmOf({kSamples + "tune.flac"}));
    EXPECT_TRUE(pcmOf({server.url("/live.cgi?tune-cbr.mp3")}) ==
                pcmOf({kSamples + "tune-cbr.mp3"}));
    EXPECT_TRUE(pcmOf({"--start", "2", server.url("/tune.flac")}) ==
                pcmOf({"--start", "2", kSamples + "tune.flac"}));
    EXPECT_NE(play({"--json", server.url("/tune.m4a")}).out.find(R"("duration":3)"),
              std::string::npos);
}

TEST(Network, HttpsIsAsSafeAsItsCertificate)
{
    WebServer const server;
    server.serve("tune.ogg", sample("tune.ogg"));
    std::string const url = server.secureUrl("/tune.ogg");
    Outcome const strange = play({"-q", "-o", "null", "--no-realtime", url});
    EXPECT_EQ(strange.exit, 1);
    EXPECT_NE(strange.err.find("the certificate of 127.0.0.1 is not trusted"), std::string::npos)
        << strange.err;
    ::setenv("SSL_CERT_FILE", server.certificate().c_str(), 1);
    EXPECT_TRUE(pcmOf({url}) == pcmOf({kSamples + "tune.ogg"}));
    ::unsetenv("SSL_CERT_FILE");
    Outcome const plain = play({"-q", "https" + server.url("/tune.ogg").substr(4)});
    EXPECT_NE(plain.err.find("does not speak https"), std::string::npos) << plain.err;
}

TEST(Network, ABrokenConnectionIsNotHeard)
{
    std::string const file = sample("tune-cbr.mp3");
    ScriptedServer const server([&file](Request const& request, Answer& answer) {
        giveFile(request, answer, file, request.first() + file.size() / 3);
    });
    EXPECT_TRUE(pcmOf({server.url()}) == pcmOf({kSamples + "tune-cbr.mp3"}));
    EXPECT_GE(server.requests().size(), 3u);
}

TEST(Network, WhatGoesWrongIsSaidInOneLine)
{
    std::string const file = sample("tune-cbr.mp3");
    ScriptedServer const server([&file](Request const& request, Answer& answer) {
        if (request.path == "/stalls") {
            answer.send(head("200 OK", "Content-Type: audio/mpeg\r\nContent-Length: 99999\r\n"));
            answer.send(file.substr(0, 30000));
            answer.stall();
        } else if (request.path == "/short") {
            answer.send(head("200 OK", "Content-Type: audio/mpeg\r\nContent-Length: 99999\r\n"));
            answer.send(file.substr(0, 30000));
        } else if (request.path == "/list") {
            answer.send(head("200 OK", "Content-Type: audio/x-mpegurl\r\n") +
                        "#EXTM3U\n#EXT-X-TARGETDURATION:9\npart.ts\n");
        } else if (request.path == "/page" || request.path == "/text") {
            std::string const type = request.path == "/page" ? "html" : "plain";
            answer.send(head("200 OK", "Content-Type: text/" + type + "\r\n") + "<html>");
        } else {
            answer.stall();
        }
    });
    struct {
        std::string address, words;
        const char* timeout = "600";
    } const cases[] = {
        {server.url("/stalls"), "sends nothing more", "5"}, // the head has come by then
        {server.url("/short"), "broke"},
        {server.url("/list"), "HLS"},
        {server.url("/page"), "a web page"},
        {server.url("/text"), "neither name nor content tells its format"},
        {server.url("/silent"), "does not answer", "0.3"},
        {"mms" + server.url("/silent").substr(4), "does not answer", "0.3"},
        {"http://127.0.0.1:1/x.mp3", "refuses the connection"},
        {"http://", "no address"},
        {"ftp://host/x.mp3", "http, https, mms and file are"},
        {"file://elsewhere/x.mp3", "another machine"},
    };
    for (auto const& it : cases) {
        Outcome const outcome =
            play({"-q", "--timeout", it.timeout, "-o", "null", "--no-realtime", it.address});
        EXPECT_EQ(outcome.exit, 1) << it.address;
        EXPECT_EQ(outcome.err.find("avrplay: " + it.address + ": "), 0u) << outcome.err;
        EXPECT_NE(outcome.err.find(it.words), std::string::npos) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
}

/// These decoders have the least patience, five seconds.
TEST(Network, ATrackThatItsServerKeepsBackHasNotPlayed)
{
    ScriptedServer const server([](Request const& request, Answer& answer) {
        std::string const file = sample(request.path.substr(1));
        std::size_t const bytes = request.path == "/tune.ogg" ? 5000 : file.size() * 2 / 3;
        answer.send(head("200 OK", "Content-Length: " + std::to_string(file.size()) + "\r\n") +
                    file.substr(0, bytes));
        answer.stall();
    });
    PlayerProcess begun({"-o", "null", "--no-realtime", server.url("/tune.flac")});
    PlayerProcess hardlyBegun({"-o", "null", "--no-realtime", server.url("/tune.ogg")});
    Outcome const outcome = begun.finish(), other = hardlyBegun.finish();
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_EQ(other.exit, 1);
    EXPECT_NE(outcome.err.find("ended early: the server sent nothing"), std::string::npos)
        << outcome.err;
    EXPECT_NE(other.err.find(": the server sent nothing for too long"), std::string::npos)
        << other.err;
    EXPECT_EQ(outcome.err.find("go on"), std::string::npos) << outcome.err;
}

TEST(Network, ARadioStationsTitlesAreShown)
{
    std::string sound;
    for (int i = 0; i < 4; ++i)
        sound += sample("tune-cbr.mp3");
    ScriptedServer const server([&sound](Request const&, Answer& answer) {
        answer.send(radio(sound, {"One - First", "", "", "", "Zwei - Sch\xF6n"}));
        answer.stall();
    });
    PlayerProcess player({"-o", "null", server.url("/")}, true);
    EXPECT_TRUE(player.waitFor("One - First"));
    EXPECT_TRUE(player.waitFor("Zwei - Schön"));
    player.type(" ");
    EXPECT_TRUE(player.waitFor("paused"));
    player.type("q");
    Outcome const outcome = player.finish();
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_TRUE(outcome.terminalNormal);
    EXPECT_EQ(server.requests()[0].headers.at("icy-metadata"), "1");
}

TEST(Network, AMediaServersStreamAndTheNextOne)
{
    std::string const first = sample("tune.wma"), second = sample("tune-lossless.wma");
    ScriptedServer const server([&](Request const& request, Answer& answer) {
        answer.send(head("200 OK", "Content-Type: application/x-mms-framed\r\n"));
        std::string const last = text(mmshNotice('E', 0));
        if (request.path == "/one") {
            answer.send(mms(request, first, last));
        } else if (request.path == "/two") {
            std::string next;
            for (Bytes const& chunk : mmshChunks(Bytes(second.begin(), second.end())))
                next += text(chunk);
            answer.send(mms(request, first, text(mmshNotice('C', 0)) + next));
        } else {
            answer.send(mms(request, first, {}).substr(0, 30000));
        }
    });
    std::string const address = "mms" + server.url("").substr(4);
    EXPECT_TRUE(pcmOf({address + "/one"}) == pcmOf({kSamples + "tune.wma"}));
    EXPECT_TRUE(pcmOf({address + "/two"}) ==
                pcmOf({kSamples + "tune.wma", kSamples + "tune-lossless.wma"}));
    Outcome const broken = play({"-q", "-o", "null", "--no-realtime", address + "/broken"});
    EXPECT_EQ(broken.exit, 1);
    EXPECT_NE(broken.err.find("the server broke the stream off"), std::string::npos) << broken.err;
}

TEST(Network, PlayListsAreTheirEntries)
{
    WebServer const server;
    for (std::string const name : {"tune.flac", "tune.ogg", "tune-8bit-mono.wav"})
        server.serve(name, sample(name));
    server.serve("remote.m3u", "#EXTM3U\n#EXTINF:3,A tune\ntune.flac\n\nsub/../tune.ogg\n");
    server.serve("loop.pls", "[playlist]\nFile1=loop.pls\nFile2=tune.ogg\n");
    std::string const flac = pcmOf({kSamples + "tune.flac"}), ogg = pcmOf({kSamples + "tune.ogg"});
    EXPECT_TRUE(pcmOf({server.url("/remote.m3u")}) == flac + ogg);

    std::string const local =
        writeFile("local.m3u", kSamples + "tune.flac\n" + server.url("/remote.m3u") + '\n' +
                                   server.url("/nothing.mp3") + '\n');
    Outcome const mixed = play({"-q", "-o", "raw:-", local});
    EXPECT_TRUE(mixed.out == flac + flac + ogg);
    EXPECT_EQ(mixed.exit, 1);
    EXPECT_NE(mixed.err.find("nothing.mp3: the server does not have it"), std::string::npos);

    std::string const probed = play({"--json", local}).out;
    EXPECT_EQ(std::count(probed.begin(), probed.end(), '\n'), 4) << probed;

    Outcome const loop = play({"-q", "-o", "null", "--no-realtime", server.url("/loop.pls")});
    EXPECT_EQ(loop.exit, 1);
    EXPECT_NE(loop.err.find("play lists that name each other"), std::string::npos) << loop.err;
}

TEST(Network, AListLiesWhereItsServerSaysAndNamesItsTracks)
{
    std::string file;
    for (int i = 0; i < 4; ++i)
        file += sample("tune-cbr.mp3");
    ScriptedServer const server([&file](Request const& request, Answer& answer) {
        if (request.path == "/list")
            answer.send(head("302 Found", "Location: /lists/it.m3u\r\n"));
        else if (request.path == "/lists/it.m3u")
            answer.send(head("200 OK") + "#EXTM3U\n#EXTINF:3,What a tune\nbehind\n");
        else if (request.path == "/lists/behind") {
            answer.send(head("200 OK") + file);
            answer.stall();
        }
    });
    PlayerProcess player({"-o", "null", server.url("/list")}, true);
    EXPECT_TRUE(player.waitFor("playing"));
    EXPECT_TRUE(player.waitFor("What a tune"));
    player.type("\x1b[C");
    EXPECT_TRUE(player.waitFor("behind: its input cannot be positioned"));
    player.type("q");
    EXPECT_EQ(player.finish().exit, 0);
}

TEST(Network, NothingThatHangsHoldsTheProgram)
{
    std::string const file = sample("tune-cbr.mp3");
    ScriptedServer const server([&file](Request const& request, Answer& answer) {
        if (request.path == "/body")
            answer.send(head("200 OK", "Content-Type: audio/mpeg\r\n") + file.substr(0, 9000));
        answer.stall();
    });
    std::size_t requests = 0;
    for (std::string const path : {"/head", "/body"})
        for (int way = 0; way < 3; ++way) {
            bool const onTerminal = way == 0;
            PlayerProcess player({"-o", "null", server.url(path)}, onTerminal);
            server.waitForRequests(++requests);
            if (onTerminal)
                player.type("q");
            else
                player.signal(way == 1 ? SIGINT : SIGTERM);
            Outcome const outcome = player.finish();
            EXPECT_EQ(outcome.exit, onTerminal ? 0 : 130);
            EXPECT_TRUE(!onTerminal || outcome.terminalNormal);
        }
}
