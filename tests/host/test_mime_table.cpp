#include "MimeNames.h"
#include "platform/MimeTable.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

using avr::host::mimeTypeFromName;
using avr::host::sniffFormat;
using kiv::mimetype_ex::mimeinfo_list;
using kiv::mimetype_ex::MimeTypeInfoSize;

namespace {

std::string formatOf(std::string const& type)
{
    for (unsigned at = 0; at < MimeTypeInfoSize; ++at)
        if (type == mimeinfo_list[at].mimeType)
            return mimeinfo_list[at].format;
    return "none";
}

std::string byName(std::string const& name)
{
    const char* const type = mimeTypeFromName(name);
    return type ? type : "none";
}

std::string byContent(std::string const& head) { return sniffFormat(head.data(), head.size()); }

} // namespace

// The registry lets the last registration of a type win, and takes every record whose format
// begins with the name that it asks for.
TEST(MimeTable, NoTypeIsClaimedTwice)
{
    std::map<std::string, int> claims;
    for (unsigned at = 0; at < MimeTypeInfoSize; ++at) {
        const std::string type = mimeinfo_list[at].mimeType;
        EXPECT_EQ(++claims[type], 1) << type;
        EXPECT_EQ(type.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ "), std::string::npos) << type;
        for (const char* format : {"lpcm", "wav", "ogg", "flac", "wma", "he-aac", "aac", "mp3"}) {
            const std::string record = mimeinfo_list[at].format;
            EXPECT_EQ(record.rfind(format, 0) == 0, record == format) << record << type;
        }
    }
}

TEST(MimeTable, TheUsualTypes)
{
    EXPECT_EQ(formatOf("audio/l16"), "lpcm");
    EXPECT_EQ(formatOf("audio/x-wav"), "wav");
    EXPECT_EQ(formatOf("application/ogg"), "ogg");
    EXPECT_EQ(formatOf("audio/x-flac"), "flac");
    EXPECT_EQ(formatOf("audio/x-ms-wma"), "wma");
    EXPECT_EQ(formatOf("audio/aacp"), "he-aac");
    EXPECT_EQ(formatOf("audio/aac"), "aac");
    EXPECT_EQ(formatOf("audio/mp4"), "aac");
    EXPECT_EQ(formatOf("audio/mpeg"), "mp3");
    EXPECT_EQ(formatOf("audio/wav-testmode"), "none") << "the decoder registers it itself";
}

TEST(MimeNames, ByEnding)
{
    EXPECT_EQ(byName("/music/Tune.WAV"), "audio/wav");
    EXPECT_EQ(byName("tune.wave"), "audio/wav");
    EXPECT_EQ(byName("a.b.mp3"), "audio/mpeg");
    EXPECT_EQ(byName("x.m4a"), "audio/mp4");
    EXPECT_EQ(byName("x.lpcm"), "audio/l16");
    for (const char* name : {"", ".", "wav", ".wav", "tune.", "tune.wa", "tune.wav,wave", "tune.,",
                             "album.wav/tune", "tune.txt", "tune.wav/"})
        EXPECT_EQ(byName(name), "none") << name;
}

TEST(MimeNames, ByContent)
{
    EXPECT_EQ(byContent("RIFF....WAVEfmt "), "audio/wav");
    EXPECT_EQ(byContent("RIFF....AVI LIST"), "");
    EXPECT_EQ(byContent("OggS"), "audio/ogg");
    EXPECT_EQ(byContent("fLaC"), "audio/flac");
    EXPECT_EQ(byContent("ADIF"), "audio/aac");
    EXPECT_EQ(byContent(std::string("\0\0\0\x20"
                                    "ftypM4A ",
                                    12)),
              "audio/mp4");
    const std::string asf("\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C", 16);
    EXPECT_EQ(byContent(asf), "audio/x-ms-wma");
    EXPECT_EQ(byContent(asf.substr(0, 15)), "");
    EXPECT_EQ(byContent("\xFF\xF1\x50\x80\x02\x1F\xFC"), "audio/aac");
    EXPECT_EQ(byContent("\xFF\xFB\x90\x64"), "audio/mpeg");
    EXPECT_EQ(byContent("\xFF\xFB\xF0\x64"), "") << "no such bit rate";
    EXPECT_EQ(byContent(std::string("\xFF\xFE"
                                    "h\0e\0l\0",
                                    8)),
              "")
        << "text";
    EXPECT_EQ(byContent("plain text, and no music"), "");
    // A tag before the audio: looked behind where the head reaches so far.
    const std::string tag("ID3\x04\0\0\0\0\0\x02xy", 12);
    EXPECT_EQ(byContent(tag + "\xFF\xF1\x50\x80\x02\x1F\xFC"), "audio/aac");
    EXPECT_EQ(byContent(tag), "audio/mpeg");
    EXPECT_EQ(byContent("ID3\x04\x01\x01\x7F\x7F\x7F\x7F"), "audio/mpeg");
    EXPECT_EQ(sniffFormat(nullptr, 0), "");
    for (const char* head : {"RIFF....WAVE", "OggS", "fLaC", "ADIF", "\xFF\xFB\x90\x64"})
        for (std::size_t size = 0; size + 1 < std::string(head).size(); ++size)
            EXPECT_EQ(byContent(std::string(head, size)), "") << "cut off";
}
