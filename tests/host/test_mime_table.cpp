#include "MimeNames.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

using namespace std::string_literals;

TEST(MimeNames, ByEnding)
{
    for (const char* name : {"/music/Tune.WAV", "tune.wave", "a.b.wav"})
        EXPECT_STREQ(avr::host::mimeTypeFromName(name), "audio/wav") << name;
    for (const char* name : {"", ".", "wav", ".wav", "tune.", "tune.wa", "tune.wav,wave", "tune.,",
                             "album.wav/tune", "tune.txt", "tune.wav/"})
        EXPECT_EQ(avr::host::mimeTypeFromName(name), nullptr) << name;
}

TEST(MimeNames, ByContentWhateverItsLength)
{
    const auto sniff = [](std::string const& head, std::size_t size) {
        const std::vector<char> part(head.begin(), head.begin() + long(size));
        return avr::host::sniffFormat(part.data(), size);
    };
    const std::map<std::string, const char*> heads = {
        {"RIFF....WAVE", "audio/wav"},
        {"RIFF....AVI LIST", ""},
        {"OggS" + std::string(24, 0) + "\x01vorbis", "audio/ogg"},
        {"OggS" + std::string(24, 0) + "OpusHead", ""},
        {"\0\0\0\x20"s + "ftyp", "audio/mp4"},
        {"\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"s, "audio/x-ms-wma"},
        {"\xFF\xF1\x50\x80\x02\x1F\xFC", "audio/aac"},  // 44100 Hz
        {"\xFF\xF1\x54\x80\x02\x1F\xFC", "audio/aac"},  // 32000 Hz
        {"\xFF\xF1\x58\x80\x02\x1F\xFC", "audio/aacp"}, // 24000 Hz
        {"\xFF\xF9\x70\xBF\x02\x1F\xFC", "audio/aacp"}, // 7350 Hz
        {"\xFF\xF1\x5C\x40\x02\x1F\xFC", "audio/aac"},  // mono
        {"\xFF\xF1\x5D\x80\x02\x1F\xFC", "audio/aac"},  // 5.1
        {"\xFF\xFB\x90\x64", "audio/mpeg"},
        {"\xFF\xFB\xF0\x64", ""},                          // no such bit rate
        {"\xFF\xFEh\0e\0l\0"s, ""},                        // text
        {"ID3\x04\x01\x01\x7F\x7F\x7F\x7F", "audio/mpeg"}, // longer than any head
    };
    for (auto const& it : heads)
        for (std::size_t size = 0; size <= it.first.size(); ++size)
            EXPECT_EQ(sniff(it.first, size), size < it.first.size() ? "" : it.second) << size;
    const std::string tagged = "ID3\x04\0\0\0\0\0\x02xy\xFF\xF1\x50\x80\x02\x1F\xFC"s;
    EXPECT_EQ(sniff(tagged, tagged.size()), "audio/aac");
    EXPECT_EQ(sniff(tagged, tagged.size() - 1), "audio/mpeg");
}
