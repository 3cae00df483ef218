#include "PlayList.h"

#include <gtest/gtest.h>

using namespace avr::host;

namespace {

constexpr PlayListKind None = PlayListKind::None, M3u = PlayListKind::M3u, Pls = PlayListKind::Pls,
                       Hls = PlayListKind::Hls;

/// The entries, each as "address|title|seconds ".
std::string parsed(PlayListKind kind, std::string const& text,
                   std::string const& base = "http://h/l/x")
{
    std::string all;
    for (PlayListEntry const& entry : parsePlayList(kind, text, base))
        all += entry.address + '|' + entry.title + '|' + std::to_string(entry.seconds) + ' ';
    return all;
}

} // namespace

TEST(PlayLists, AreToldByContentThenTypeThenName)
{
    struct {
        PlayListKind kind;
        const char *name, *type, *head;
    } const cases[] = {
        {M3u, "x", "", "#EXTM3U\n"},
        {M3u, "x.mp3", "audio/mpeg", "\xEF\xBB\xBF\r\n #EXTM3U"},
        {Pls, "x.m3u", "audio/x-mpegurl", "\n[PlayList]\r\n"},
        {None, "x", "", "[play"},
        {M3u, "http://h/x", "Application/X-MpegURL; charset=utf-8", ""},
        {M3u, "x", "audio/mpegurl", "t.mp3"},
        {M3u, "x", "audio/x-m3u", ""},
        {Pls, "x", "audio/x-scpls", ""},
        {Pls, "x", "application/pls+xml", "File1=t"},
        {M3u, "/a/X.M3U", "text/plain", ""},
        {M3u, "http://h/x.m3u8?a=b.mp3#c", "", ""},
        {Pls, "a?b#c.pls", "application/octet-stream", ""},
        {None, "http://h/x?a=b.pls", "", ""},
        {None, "http://h/listen.pls", "audio/mpeg", ""}, // a stream behind a list's name
        {None, "m3u", "audio/aac", "\xFF\xFB"},
    };
    for (auto const& it : cases)
        EXPECT_EQ(it.kind, playListKind(it.name, it.type, it.head)) << it.name << ' ' << it.type;
    EXPECT_EQ(None, playListKind("x.m3u", "audio/x-mpegurl", std::string("ID3\0\4", 5)));
}

TEST(PlayLists, OfPiecesAreToldApart)
{
    std::string const head = "#EXTM3U\n#EXT-X-VERSION:3\r\n";
    EXPECT_EQ(Hls, playListKind("", "", head + "#EXT-X-TARGETDURATION:10\n#EXTINF:10,\na.ts\n"));
    EXPECT_EQ(Hls, playListKind("", "", head + "#EXT-X-STREAM-INF:BANDWIDTH=1\nlow.m3u8\n"));
    EXPECT_EQ(M3u,
              playListKind("", "application/vnd.apple.mpegurl", "#EXTM3U\na#EXT-X-STREAM-INF"));
    EXPECT_TRUE(parsePlayList(Hls, "#EXTINF:10,\na.ts\n", "").empty());
    EXPECT_TRUE(parsePlayList(None, "a.mp3\n", "").empty());
}

TEST(PlayLists, M3u)
{
    EXPECT_EQ("/m/a.mp3||-1 /m/b c.mp3|T, \"U\"|61 http://h/d|Live|-1 /m/e||-1 ",
              parsed(M3u,
                     "\xEF\xBB\xBF#EXTM3U\r\n\r\n# a note\r\na.mp3\r\n"
                     "#EXTINF: 61.9 ,\tT, \"U\" \r\n#EXTGRP:x\r\n  b c.mp3\t\r\n"
                     "#EXTINF:-1 a=\"b\",Live\rhttp://h/d\n#EXTINF\n#\ne",
                     "/m/l.m3u"));
    EXPECT_EQ("/m/a||7 /m/b||-1 ",
              parsed(M3u, "#EXTINF:7\na\n#EXTINF:12345678901,\nb", "/m/l.m3u"));
}

TEST(PlayLists, Pls)
{
    EXPECT_EQ("http://h/l/a|A|-1 http://h/l/b=c|B|9 http://h/l/d||-1 ",
              parsed(Pls,
                     "\xEF\xBB\xBF[playlist]\r\nTITLE10=B\r\nfile10 = b=c\nLength1=-1\n"
                     "Length010=9\nFile300=d\r\nNumberOfEntries=1\nTitle1= A \nFile1=a\n"
                     "File=x\nFile1x=x\n=x\n77=x\nTitle5=no file\nFile99999999999=x\nVersion=2"));
}

TEST(PlayLists, TitlesBecomeUtf8AndPathsStayBytes)
{
    std::string const latin = "#EXTINF:1,\xC4\xA9\xFC\nh\xE4.mp3\n#EXTINF:1,\xC3\xA4\nu\n";
    EXPECT_EQ("h\xE4.mp3|\xC3\x84\xC2\xA9\xC3\xBC|1 u|\xC3\xA4|1 ", parsed(M3u, latin, ""));
    for (const char* broken : {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF",
                               "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
                               "\xF5\x80\x80\x80", "\xE2\x82", "\x80", "\xC3z"}) {
        std::string const title =
            parsePlayList(M3u, "#EXTINF:1," + std::string(broken) + "\nx", "").at(0).title;
        EXPECT_NE(broken, title);
        EXPECT_EQ('\xC2' == title[0] || '\xC3' == title[0], true) << broken;
    }
    for (const char* whole :
         {"\x7F\xC2\x80\xDF\xBF", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF",
          "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"})
        EXPECT_EQ(whole,
                  parsePlayList(M3u, "#EXTINF:1," + std::string(whole) + "\nx", "").at(0).title);
}

TEST(PlayLists, KeepWhatCanNotBePlayedOut)
{
    EXPECT_EQ("./-o||-1 b||-1 ",
              parsed(M3u, std::string("-o\na\x1B[2J\na\0b\na\x7F\nb\n", 17), "l.m3u"));
    EXPECT_EQ("", parsed(M3u, "file:///etc/hostname\nFILE:///a"))
        << "a server has no say about files here";
    EXPECT_EQ("file:///a||-1 ", parsed(M3u, "file:///a", "file:///m/l.m3u"));
    EXPECT_EQ("", parsed(Pls, "File1=\nFile2= \t\nTitle1=a"));
}

TEST(PlayLists, AreBounded)
{
    std::string const line(8192, 'a');
    EXPECT_EQ(line + "||-1 b||-1 ", parsed(M3u, line + '\n' + line + "a\nb\n", ""));
    std::string many;
    for (int i = 0; i < 70000; ++i)
        many += "File" + std::to_string(i) + "=a\n";
    EXPECT_EQ(MostPlayListEntries, parsePlayList(Pls, many, "").size());
    EXPECT_EQ(MostPlayListEntries, parsePlayList(M3u, many, "").size());
    std::size_t bytes = 0;
    for (auto const& entry : parsePlayList(M3u, many, "http://h/" + std::string(5000, 'b') + '/'))
        bytes += entry.address.size();
    EXPECT_LE(bytes, 4 * MostPlayListBytes);
    EXPECT_GE(bytes, 4 * MostPlayListBytes - 6000);
    std::string text(MostPlayListBytes - 2, '\n');
    EXPECT_EQ("a||-1 ", parsed(M3u, text + "a\nbc\n", "")) << "up to the last whole line";
    EXPECT_EQ("", parsed(M3u, text + "abc\n", ""));
}
