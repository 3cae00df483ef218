#include "Pacer.h"
#include "Sinks.h"
#include "SoundDevice.h"
#include "TempDir.h"
#include "WavFileSink.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace avr::host;

namespace {

constexpr PcmFormat Cd{44100, 2, 2};
constexpr PcmFormat Mono8{8000, 1, 1};
constexpr PcmFormat Mono24{48000, 1, 3};

const std::uint8_t* bytesOf(std::string const& text)
{
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

/// Writes everything; the sink may take it in parts.
testing::AssertionResult writeAll(ISoundSink& sink, std::string const& pcm)
{
    std::string error;
    for (std::size_t at = 0; at < pcm.size();) {
        const long taken = sink.write(bytesOf(pcm) + at, pcm.size() - at, error);
        if (taken < 0)
            return testing::AssertionFailure() << error;
        at += std::size_t(taken);
    }
    return testing::AssertionSuccess();
}

/// Plays through a sound device of its own, to the end.
testing::AssertionResult play(std::unique_ptr<ISoundSink> sink, PcmFormat const& format,
                              std::string const& pcm)
{
    SoundDevice device;
    device.setSink(std::move(sink));
    std::string error;
    if (!device.beginRun(format, error) || device.put(pcm.data(), pcm.size()) != 0)
        return testing::AssertionFailure() << error << device.failure();
    device.putEofMark(true);
    if (!eventually([&] { return device.isPlaybackCompleted(); }))
        return testing::AssertionFailure() << "not completed";
    if (!device.failure().empty() || !device.closeSink(error))
        return testing::AssertionFailure() << error << device.failure();
    return testing::AssertionSuccess();
}

std::string le32(std::uint32_t value)
{
    std::string text;
    for (int shift = 0; shift < 32; shift += 8)
        text += char(value >> shift & 0xFF);
    return text;
}

Pacer::Clock::time_point theTime;
Pacer::Clock::time_point theNow() { return theTime; }

} // namespace

TEST(WavFile, HeaderAndPcm)
{
    TempDir dir;
    const std::string path = dir.file("cd.wav");
    ASSERT_TRUE(play(makeWavFileSink(path, Pace::AsFastAsPossible), Cd, "LlRrLlRr"));
    const std::string expected("RIFF\x2C\0\0\0WAVEfmt \x10\0\0\0\x01\0\x02\0\x44\xAC\0\0"
                               "\x10\xB1\x02\0\x04\0\x10\0data\x08\0\0\0LlRrLlRr",
                               52);
    EXPECT_EQ(contentOf(path), expected);
}

TEST(WavFile, OddDataIsPaddedAndEightBitsAreUnsigned)
{
    TempDir dir;
    const std::string path = dir.file("mono.wav");
    ASSERT_TRUE(play(makeWavFileSink(path, Pace::AsFastAsPossible), Mono8,
                     std::string("\x80\xFF\0\x01\x7F", 5)));
    const std::string eight = contentOf(path);
    EXPECT_EQ(eight.substr(4, 4), le32(36 + 5 + 1));
    EXPECT_EQ(eight.substr(40), le32(5) + std::string("\0\x7F\x80\x81\xFF\0", 6));

    ASSERT_TRUE(play(makeWavFileSink(path, Pace::AsFastAsPossible), Mono24, "abcdefghi"));
    const std::string packed = contentOf(path);
    EXPECT_EQ(packed.substr(4, 4), le32(36 + 9 + 1));
    EXPECT_EQ(packed.substr(32, 4), std::string("\x03\0\x18\0", 4));
    EXPECT_EQ(packed.substr(40), le32(9) + std::string("abcdefghi\0", 10));
}

TEST(WavFile, AnInterruptedFileMissesLessThanASecond)
{
    TempDir dir;
    const std::string path = dir.file("killed.wav");
    const std::unique_ptr<ISoundSink> sink = makeWavFileSink(path, Pace::AsFastAsPossible);
    std::string error;
    ASSERT_TRUE(sink->open(Mono8, error)) << error;
    EXPECT_EQ(contentOf(path).substr(40), le32(0));
    for (std::uint32_t written = 0; written < 40000; written += 1000)
        ASSERT_TRUE(writeAll(*sink, std::string(1000, 'x')));
    const std::string now = contentOf(path);
    EXPECT_EQ(now.size(), 40044u);
    EXPECT_EQ(now.substr(40, 4), le32(40000));
    EXPECT_EQ(now.substr(4, 4), le32(40036));
}

TEST(WavFile, TracksOfOneFormatFollowEachOther)
{
    TempDir dir;
    const std::unique_ptr<ISoundSink> sink =
        makeWavFileSink(dir.file("album.wav"), Pace::AsFastAsPossible);
    std::string error;
    ASSERT_TRUE(sink->open(Cd, error) && writeAll(*sink, "abcd") && sink->open(Cd, error)) << error;
    ASSERT_TRUE(writeAll(*sink, "efgh"));
    EXPECT_FALSE(sink->open(Mono24, error));
    EXPECT_NE(error.find("44100 Hz, 2 channels, 16 bits"), std::string::npos) << error;
    ASSERT_TRUE(sink->close(error)) << error;
    EXPECT_EQ(contentOf(dir.file("album.wav")).substr(40), le32(8) + "abcdefgh");
}

TEST(WavFile, WhatCannotBeStoredIsSaidInOneLine)
{
    TempDir dir;
    std::string error;
    EXPECT_FALSE(makeWavFileSink(dir.file("no/such.wav"), Pace::AsFastAsPossible)->open(Cd, error));
    EXPECT_EQ(error, dir.file("no/such.wav") + ": No such file or directory");
    EXPECT_FALSE(makeWavFileSink(dir.file(""), Pace::AsFastAsPossible)->open(Cd, error));
    EXPECT_NE(error.find("Is a directory"), std::string::npos) << error;
    EXPECT_FALSE(makeWavFileSink("/dev/full", Pace::AsFastAsPossible)->open(Cd, error));
    EXPECT_EQ(error, "/dev/full: No space left on device");
    EXPECT_FALSE(makeWavFileSink(dir.file("wide.wav"), Pace::AsFastAsPossible)
                     ->open({44100, 20000, 4}, error));
    EXPECT_FALSE(std::filesystem::exists(dir.file("wide.wav")));

    // Full: what is in the file stays playable.
    WavFileSink full(dir.file("full.wav"), Pace::AsFastAsPossible, 10);
    ASSERT_TRUE(full.open(Cd, error)) << error;
    EXPECT_EQ(full.write(bytesOf("abcdefgh"), 8, error), 8);
    EXPECT_LT(full.write(bytesOf("abcd"), 4, error), 0);
    EXPECT_NE(error.find("4 GiB"), std::string::npos) << error;
    ASSERT_TRUE(full.close(error)) << error;
    EXPECT_EQ(contentOf(dir.file("full.wav")).substr(40), le32(8) + "abcdefgh");
    EXPECT_LT(WavFileSink::MostData + 36 + 1 + 0xFFFF, 0x100000000u);
}

TEST(WavFile, APipeGetsUnknownSizes)
{
    TempDir dir;
    const std::string path = dir.file("fifo");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    std::string error;
    EXPECT_FALSE(makeWavFileSink(path, Pace::AsFastAsPossible)->open(Cd, error)) << "would hang";
    const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_TRUE(play(makeWavFileSink(path, Pace::AsFastAsPossible), Cd, "abcd"));
    char head[100] = {};
    EXPECT_EQ(::read(reader, head, sizeof head), 48);
    EXPECT_EQ(std::string(head + 4, 4), "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(std::string(head + 40, 8), "\xFF\xFF\xFF\xFF"
                                         "abcd");
    ::close(reader);
}

TEST(RawOutput, ASlowReaderGetsEveryByteOnce)
{
    std::string pcm;
    for (int number = 0; number < 60000; ++number)
        pcm += std::to_string(number % 10) + "abcde";
    for (const int flags : {0, O_NONBLOCK}) {
        int ends[2];
        ASSERT_EQ(::pipe2(ends, flags), 0);
        ::fcntl(ends[0], F_SETFL, 0);
        std::string received;
        std::thread reader([&] {
            char some[777];
            for (ssize_t got = 0; (got = ::read(ends[0], some, sizeof some)) > 0;)
                received.append(some, std::size_t(got));
        });
        EXPECT_TRUE(
            play(makeRawDescriptorSink(ends[1], "pipe", Pace::AsFastAsPossible), {48000, 2, 3}, pcm));
        ::close(ends[1]);
        reader.join();
        EXPECT_TRUE(received == pcm);
        ::close(ends[0]);
    }
}

TEST(RawOutput, AStalledReaderHoldsNobodyAndAGoneOneIsAFailure)
{
    ::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    SoundDevice device;
    device.setSink(makeRawDescriptorSink(ends[1], "pipe", Pace::AsFastAsPossible));
    std::string error;
    ASSERT_TRUE(device.beginRun(Cd, error));
    ASSERT_EQ(device.put("abcd", 4), 0);
    ASSERT_TRUE(eventually([&] { return device.bytesTaken() == 4; })) << device.failure();
    ASSERT_EQ(device.put(std::string(1000000, 'x').data(), 1000000), 0);
    ASSERT_TRUE(eventually([&] { return device.bytesTaken() > 50000; })) << device.failure();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    // The thread is not stuck in a write that blocks: this would hang.
    device.stop();
    ASSERT_TRUE(device.beginRun(Cd, error)) << error;
    ASSERT_EQ(device.put("abcd", 4), 0);
    ::close(ends[0]);
    ASSERT_TRUE(eventually([&] { return !device.failure().empty(); }));
    EXPECT_NE(device.failure().find("Broken pipe"), std::string::npos) << device.failure();
    device.closeSink(error);
    EXPECT_GE(::fcntl(ends[1], F_GETFD), 0) << "the descriptor is the caller's";
    ::close(ends[1]);
}

TEST(RawOutput, AFileHasThePcmAlone)
{
    TempDir dir;
    store(dir.file("pcm"), "what was there before");
    ASSERT_TRUE(play(makeRawFileSink(dir.file("pcm"), Pace::AsFastAsPossible), Mono8, "\x80\x7F"));
    EXPECT_EQ(contentOf(dir.file("pcm")), "\x80\x7F");
    EXPECT_FALSE(play(makeRawFileSink("/dev/full", Pace::AsFastAsPossible), Mono8, "ab"));
}

TEST(Pace, FollowsTheClockWithoutDriftOrBurst)
{
    using std::chrono::milliseconds;
    Pacer pacer(Pace::Realtime, &theNow);
    pacer.open(Cd);
    EXPECT_EQ(pacer.room(1u << 20), 8820u * 4) << "a fifth of a second at first";
    EXPECT_EQ(pacer.room(7), 4u) << "whole frames";
    std::size_t taken = 0;
    const auto takeAll = [&] {
        const std::size_t room = pacer.room(1u << 20);
        pacer.took(room);
        taken += room;
    };
    for (int step = 0; step < 100000; ++step, theTime += milliseconds(7))
        takeAll();
    EXPECT_NEAR(double(taken), 700.0 * 44100 * 4 + 8820 * 4, 8820 * 4);

    // A pause takes no time, and neither does a decoder that had nothing to give.
    theTime += milliseconds(100);
    takeAll();
    EXPECT_FALSE(pacer.drained());
    pacer.pause(true);
    theTime += std::chrono::hours(30);
    EXPECT_FALSE(pacer.drained());
    EXPECT_EQ(pacer.room(1u << 20), 0u);
    pacer.pause(false);
    EXPECT_EQ(pacer.room(1u << 20), 0u);
    theTime += milliseconds(201);
    EXPECT_TRUE(pacer.drained());
    theTime += std::chrono::hours(1);
    takeAll();
    EXPECT_EQ(pacer.room(1u << 20), 0u);
    pacer.discard();
    EXPECT_TRUE(pacer.drained());
    EXPECT_EQ(pacer.room(1u << 20), 8820u * 4);
}

TEST(Pace, ARealtimeSinkTakesAsLongAsTheAudio)
{
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(play(makeNullSink(Pace::Realtime), Cd, std::string(44100 * 4 / 2, 'x')));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(490));
}

TEST(NullSink, Misbehaves)
{
    NullFaults faults;
    SoundDevice device;
    device.setSink(makeNullSink(Pace::AsFastAsPossible, &faults));
    std::string error;
    const auto endsWithin = [&](int milliseconds) {
        EXPECT_TRUE(device.beginRun(Cd, error)) << error;
        EXPECT_EQ(device.put("abcd", 4), 0);
        device.putEofMark(true);
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        return device.isPlaybackCompleted();
    };
    faults.lateMilliseconds = 100000;
    EXPECT_FALSE(endsWithin(50));
    faults.lateMilliseconds = 0;
    EXPECT_TRUE(eventually([&] { return device.isPlaybackCompleted(); }));
    faults.neverCompletes = true;
    EXPECT_FALSE(endsWithin(50));
    faults.takesNothing = true;
    EXPECT_FALSE(endsWithin(50));
    EXPECT_EQ(device.bytesTaken(), 0u);
    faults.fails = true;
    EXPECT_TRUE(eventually([&] { return device.isPlaybackCompleted(); }));
    EXPECT_EQ(device.put("abcd", 4), -10002);
    EXPECT_FALSE(device.failure().empty());
    device.closeSink(error);
}

namespace {

/// Devices that need no hardware: one that writes what it plays into a file, one that has exactly
/// two channels.
class Alsa : public testing::Test {
protected:
    Alsa()
    {
        store(dir.file("asound.conf"),
              "pcm.nothing { type null }\n"
              "pcm.record { type file slave.pcm nothing format raw file \"" +
                  dir.file("played") +
                  "\" }\n"
                  "pcm.stereo { type multi slaves.a { pcm nothing channels 2 }\n"
                  "  bindings.0 { slave a channel 0 } bindings.1 { slave a channel 1 } }\n");
        ::setenv("ALSA_CONFIG_PATH", dir.file("asound.conf").c_str(), 1);
    }
    TempDir dir;
};

} // namespace

TEST_F(Alsa, PlaysEverySampleSizeUnchanged)
{
    // More than the device holds, an odd rest, and less than it would start with.
    for (const std::size_t frames : {30000u, 12345u, 3u}) {
        for (std::uint16_t bytes = 1; bytes <= 4; ++bytes) {
            std::string pcm(frames * 2 * bytes, '\0');
            for (std::size_t at = 0; at < pcm.size(); ++at)
                pcm[at] = char(at * 7 + at / 251);
            ASSERT_TRUE(play(makeAlsaSink("record"), {44100, 2, bytes}, pcm));
            EXPECT_TRUE(contentOf(dir.file("played")) == pcm) << frames << " of " << bytes;
        }
    }
}

TEST_F(Alsa, ASecondTrackFollowsAndASeekIsSurvived)
{
    const std::unique_ptr<ISoundSink> sink = makeAlsaSink("record");
    std::string error;
    ASSERT_TRUE(sink->open(Cd, error)) << error;
    ASSERT_TRUE(writeAll(*sink, "abcd"));
    sink->finish();
    EXPECT_TRUE(eventually([&] { return sink->drained(); }));
    ASSERT_TRUE(sink->open(Cd, error)) << error;
    ASSERT_TRUE(writeAll(*sink, "efgh"));
    EXPECT_TRUE(sink->close(error));
    EXPECT_TRUE(sink->close(error));
    EXPECT_EQ(contentOf(dir.file("played")), "abcdefgh") << "the device stayed open";

    ASSERT_TRUE(sink->open(Cd, error)) << error;
    ASSERT_TRUE(writeAll(*sink, "abcd"));
    sink->pause(true);
    sink->discard();
    sink->pause(false);
    ASSERT_TRUE(writeAll(*sink, "efgh"));
    ASSERT_TRUE(sink->open({48000, 1, 2}, error)) << error;
    ASSERT_TRUE(writeAll(*sink, "mn"));
    EXPECT_TRUE(sink->close(error));
    EXPECT_EQ(contentOf(dir.file("played")), "mn") << "another format opens the device afresh";
}

TEST_F(Alsa, RefusalsAreOneLineAndTheLibraryStaysSilent)
{
    testing::internal::CaptureStderr();
    std::string error;
    EXPECT_FALSE(makeAlsaSink("nosuch")->open(Cd, error));
    EXPECT_EQ(error, "nosuch: cannot be opened (No such file or directory)");
    EXPECT_FALSE(makeAlsaSink("stereo")->open({44100, 6, 2}, error));
    EXPECT_EQ(error, "stereo: does not play 6 channels (Invalid argument)");
    EXPECT_FALSE(alsaDeviceUsable("nosuch"));
    EXPECT_TRUE(alsaDeviceUsable("stereo"));
    EXPECT_TRUE(makeAlsaSink("stereo")->open(Cd, error)) << error;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    // Operations on a device that never opened.
    const std::unique_ptr<ISoundSink> sink = makeAlsaSink("nosuch");
    EXPECT_FALSE(sink->open(Cd, error));
    sink->pause(true);
    sink->pause(false);
    sink->discard();
    EXPECT_TRUE(sink->close(error));
}
