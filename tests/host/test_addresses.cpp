#include "Address.h"

#include <gtest/gtest.h>

using namespace avr::host;

TEST(Addresses, HaveASchemeOrArePaths)
{
    EXPECT_EQ("http", schemeOf("HTTP://host/x://y"));
    EXPECT_EQ("a1+-.", schemeOf("a1+-.://"));
    for (const char* path : {"", "://x", "/tmp/a://b", "a b://c", "1a://b", "c:\\x", "http:/x",
                             "./http://x", "h\xC3\xA4://x", "tune.mp3"})
        EXPECT_EQ("", schemeOf(path)) << path;
}

TEST(Addresses, OfFilesMeanPaths)
{
    EXPECT_EQ("/a b/?#\xC3\xA4", pathOfFileUrl("file:///a%20b/?#%c3%A4"));
    EXPECT_EQ("/100%/%2/%zz/%4", pathOfFileUrl("FILE://localhost/100%/%2/%zz/%4"));
    for (const char* url :
         {"file://", "file://localhost", "file://other/a", "http:///a", "/a", "file:///a%00b"})
        EXPECT_EQ("", pathOfFileUrl(url)) << url;
}

TEST(Addresses, BesideAUrl)
{
    constexpr const char* Base = "http://h:80/a/b/list.m3u?x=/1#/f";
    struct {
        const char *relative, *address;
    } const cases[] = {
        {"t.mp3", "http://h:80/a/b/t.mp3"},
        {"../t.mp3", "http://h:80/a/t.mp3"},
        {"../../../t.mp3?a=../b#../c", "http://h:80/t.mp3?a=../b#../c"},
        {"./c/./d/../t.mp3", "http://h:80/a/b/c/t.mp3"},
        {"..", "http://h:80/a/"},
        {".", "http://h:80/a/b/"},
        {"...", "http://h:80/a/b/..."},
        {"/t/../u.mp3", "http://h:80/u.mp3"},
        {"//other/t/../u.mp3", "http://other/t/../u.mp3"},
        {"?id=1", "http://h:80/a/b/list.m3u?id=1"},
        {"MMS://other/x", "MMS://other/x"},
        {"a b\\\xC3\xA4%20.mp3", "http://h:80/a/b/a%20b/%C3%A4%20.mp3"},
        {"a/b\\c.mp3", "http://h:80/a/b/a/b%5Cc.mp3"},
        {"https://o/~a b", "https://o/~a%20b"},
        {"-t.mp3", "http://h:80/a/b/-t.mp3"},
    };
    for (auto const& it : cases)
        EXPECT_EQ(it.address, resolveAddress(Base, it.relative)) << it.relative;
    for (const char* bare : {"http://h", "http://h/", "http://h?a/b", "http://h#a/b"})
        EXPECT_EQ("http://h/t", resolveAddress(bare, "t")) << bare;
    EXPECT_EQ("http://h/t", resolveAddress("http://h", "/t"));
    EXPECT_EQ("http://h?t", resolveAddress("http://h", "?t"));
}

TEST(Addresses, BesideAPath)
{
    struct {
        const char *base, *relative, *address;
    } const cases[] = {
        {"/m/list.m3u", "t.mp3", "/m/t.mp3"},
        {"/m/list.m3u", "../t?#%20.mp3", "/m/../t?#%20.mp3"},
        {"/m/list.m3u", "/t.mp3", "/t.mp3"},
        {"/m/list.m3u", "disc 1\\t.mp3", "/m/disc 1/t.mp3"},
        {"/m/list.m3u", "AC/DC\\t.mp3", "/m/AC/DC\\t.mp3"},
        {"/m/list.m3u", "http://h/t.mp3", "http://h/t.mp3"},
        {"file:///a%20b/list.m3u", "c%20d.mp3", "/a b/c%20d.mp3"},
        {"list.m3u", "t.mp3", "t.mp3"},
        {"list.m3u", "-o", "./-o"},
        {"-", "-", "./-"},
        {"-x/list.m3u", "t.mp3", "./-x/t.mp3"},
        {"list.m3u", "http:\\\\h\\t", "./http://h/t"}, // a path is no address by its backslashes
    };
    for (auto const& it : cases)
        EXPECT_EQ(it.address, resolveAddress(it.base, it.relative)) << it.relative;
}

TEST(Addresses, AreShownWithoutTheirPasswords)
{
    for (auto const& it : {std::pair("http://me:secret@h:80/a@b:c", "http://me:***@h:80/a@b:c"),
                           {"https://me:se@cret@h", "https://me:***@h"},
                           {"http://me@h:80/", "http://me@h:80/"},
                           {"http://h:80/a:b@c", "http://h:80/a:b@c"},
                           {"a:b@c", "a:b@c"}})
        EXPECT_EQ(it.second, withoutPassword(it.first));
}
