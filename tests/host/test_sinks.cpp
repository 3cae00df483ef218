#include "Sinks.h"
#include "SoundDevice.h"
#include "TempDir.h"
#include "WavFileSink.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace avr::host;
using namespace std::string_literals;

namespace {

constexpr PcmFormat Cd{44100, 2, 2};
constexpr PcmFormat Mono8{8000, 1, 1};
constexpr PcmFormat Mono24{48000, 1, 3};
constexpr Pace Fast = Pace::AsFastAsPossible;

bool write(ISoundSink& sink, std::string const& pcm, std::string& error)
{
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(pcm.data());
    return sink.write(bytes, pcm.size(), error) == long(pcm.size());
}

/// Plays through a sound device of its own, to the end.
testing::AssertionResult play(std::unique_ptr<ISoundSink> sink, PcmFormat const& format,
                              std::string const& pcm)
{
    SoundDevice device;
    device.setSink(std::move(sink));
    std::string error;
    bool good = device.beginRun(format, error) && device.put(pcm.data(), pcm.size()) == 0;
    device.putEofMark(true);
    good = good && eventually([&] { return device.isPlaybackCompleted(); });
    good = good && device.failure().empty() && device.closeSink(error);
    return (good ? testing::AssertionSuccess() : testing::AssertionFailure())
           << error << device.failure();
}

class Output : public testing::Test {
protected:
    std::string played() const { return contentOf(path); }
    TempDir dir;
    const std::string path = dir.file("output");
    std::string error;
};

} // namespace

TEST_F(Output, WavFilesByteForByte)
{
    struct {
        PcmFormat format;
        std::string pcm, head, tail;
    } const cases[] = {
        {Cd, "LlRrLlRr", "RIFF\x2C\0\0\0WAVEfmt \x10\0\0\0\x01\0\x02\0\x44\xAC\0\0"s,
         "\x10\xB1\x02\0\x04\0\x10\0data\x08\0\0\0LlRrLlRr"s},
        {Mono8, "\x80\xFF\0\x01\x7F"s, "RIFF\x2A\0\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x40\x1F\0\0"s,
         "\x40\x1F\0\0\x01\0\x08\0data\x05\0\0\0\0\x7F\x80\x81\xFF\0"s}, // unsigned there; padded
        {Mono24, "abcdefghi", "RIFF\x2E\0\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x80\xBB\0\0"s,
         "\x80\x32\x02\0\x03\0\x18\0data\x09\0\0\0abcdefghi\0"s},
    };
    for (auto const& it : cases) {
        ASSERT_TRUE(play(makeWavFileSink(path, Fast), it.format, it.pcm));
        EXPECT_EQ(played(), it.head + it.tail);
    }
}

TEST_F(Output, AnInterruptedOrFullWavFilePlays)
{
    WavFileSink sink(path, Fast, 40700);
    ASSERT_TRUE(sink.open(Mono8, error)) << error;
    while (write(sink, std::string(500, 'x'), error))
        continue;
    EXPECT_NE(error.find("4 GiB"), std::string::npos) << error;
    EXPECT_EQ(played().size(), 40544u);
    EXPECT_EQ(played().substr(4, 4), "\x64\x9C\0\0"s);
    EXPECT_EQ(played().substr(40, 4), "\x40\x9C\0\0"s) << "40000: less than a second is missing";
    ASSERT_TRUE(sink.close(error)) << error;
    EXPECT_EQ(played().substr(4, 4), "\x58\x9E\0\0"s);
    EXPECT_EQ(played().substr(40, 4), "\x34\x9E\0\0"s);
}

TEST_F(Output, WhatCannotBeStoredIsSaidInOneLine)
{
    const std::string noFolder = dir.file("no/such");
    for (auto const& it : {std::pair(noFolder, noFolder + ": no such file or directory"),
                           std::pair(dir.file(""), dir.file("") + ": is a directory"),
                           std::pair("/dev/full"s, "/dev/full: no space left on device"s)}) {
        EXPECT_FALSE(makeWavFileSink(it.first, Fast)->open(Cd, error));
        EXPECT_EQ(error, it.second);
        EXPECT_FALSE(play(makeRawFileSink(it.first, Fast), Cd, "abcd"));
    }
    EXPECT_FALSE(makeWavFileSink(path, Fast)->open({44100, 20000, 4}, error));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(Output, ASlowReaderOfAPipeGetsEveryByteOnce)
{
    const std::string pcm = noise(60000 * 6);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_FALSE(makeWavFileSink(path, Fast)->open(Cd, error)) << "would hang without a reader";
    for (const bool wav : {false, true}) {
        const int from = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
        const int to = ::open(path.c_str(), O_WRONLY);
        ::fcntl(from, F_SETFL, 0);
        std::string received;
        std::thread reader([&] {
            char some[777];
            for (ssize_t got = 0; (got = ::read(from, some, sizeof some)) > 0;)
                received.append(some, std::size_t(got));
        });
        EXPECT_TRUE(play(wav ? makeWavFileSink(path, Fast) : makeRawDescriptorSink(to, "", Fast),
                         {48000, 2, 3}, pcm));
        EXPECT_EQ(::close(to), 0) << "the descriptor is the caller's";
        reader.join();
        ::close(from);
        const std::string head = received.substr(0, wav ? 44 : 0);
        EXPECT_EQ(head.substr(wav ? 40 : 0), wav ? "\xFF\xFF\xFF\xFF" : "") << "size unknown";
        EXPECT_TRUE(received.substr(head.size()) == pcm) << wav;
    }
}

namespace {

/// A device that needs no hardware: it writes what it plays into a file.
class Alsa : public Output {
protected:
    Alsa()
    {
        store(dir.file("conf"), "pcm.nothing { type null } pcm.record { type file format raw "
                                "slave.pcm nothing file \"" +
                                    path + "\" }");
        ::setenv("ALSA_CONFIG_PATH", dir.file("conf").c_str(), 1);
    }
};

} // namespace

TEST_F(Alsa, PlaysEverySampleSizeUnchanged)
{
    // More than the device holds, and less than it would start with.
    for (const std::size_t frames : {30000u, 3u})
        for (std::uint16_t bytes = 1; bytes <= 4; ++bytes) {
            const std::string pcm = noise(frames * 2 * bytes);
            ASSERT_TRUE(play(makeAlsaSink("record"), {44100, 2, bytes}, pcm));
            EXPECT_TRUE(played() == pcm) << frames << " of " << bytes;
        }
}

TEST_F(Alsa, StaysOpenForOneFormatAndSurvivesASeek)
{
    const std::unique_ptr<ISoundSink> sink = makeAlsaSink("record");
    ASSERT_TRUE(sink->open(Cd, error) && write(*sink, "abcd", error)) << error;
    sink->finish();
    EXPECT_TRUE(eventually([&] { return sink->drained(); }));
    ASSERT_TRUE(sink->open(Cd, error) && write(*sink, "efgh", error)) << error;
    sink->pause(true);
    sink->discard();
    sink->pause(false);
    EXPECT_TRUE(write(*sink, "ijkl", error) && sink->close(error)) << error;
    EXPECT_EQ(played(), "abcdefghijkl");
}
