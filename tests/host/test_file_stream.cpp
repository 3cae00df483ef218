#include "FileStream.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using avr::host::FileStream;

namespace {

constexpr int Failed = -10002;
constexpr int End = -10101;

/// What one read gives, or its result as text.
std::string readSome(FileStream& stream, unsigned int len)
{
    std::string data(len, '\0');
    unsigned int got = 99;
    const int result = stream.Read(data.data(), len, &got);
    return result == 0 ? data.substr(0, got) : std::to_string(result);
}

std::string property(FileStream& stream, int key)
{
    std::string value = "as it was";
    return stream.GetStreamProperty(key, value) < 0 && value != "as it was" ? "overwritten" : value;
}

int openDescriptors()
{
    using std::filesystem::directory_iterator;
    return int(std::distance(directory_iterator("/proc/self/fd"), directory_iterator()));
}

class Pipe : public testing::Test {
protected:
    Pipe() { EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0); }
    TempDir dir;
    const std::string path = dir.file("pipe");
    FileStream stream{path};
};

} // namespace

TEST(FileStream, ReadsToTheEndAndFromAnywhere)
{
    TempDir dir;
    store(dir.file("tune"), "0123456789");
    FileStream stream(dir.file("tune"));
    EXPECT_LT(stream.IsOpened(), 0);
    EXPECT_EQ(readSome(stream, 4), "-10002");
    EXPECT_EQ(stream.SeekByte(0), Failed);
    EXPECT_EQ(stream.GetCapabilities(), 0x10) << "asked before Open";
    EXPECT_EQ(property(stream, 1), "10");

    ASSERT_EQ(stream.Open(), 0);
    EXPECT_GE(stream.IsOpened(), 0);
    EXPECT_EQ(readSome(stream, 4), "0123");
    EXPECT_EQ(readSome(stream, 0), "");
    EXPECT_EQ(readSome(stream, 100), "456789");
    EXPECT_EQ(readSome(stream, 100), std::to_string(End));
    EXPECT_EQ(readSome(stream, 0), "") << "nothing asked for is no end";
    EXPECT_EQ(stream.SeekByte(7), 0);
    EXPECT_EQ(readSome(stream, 1), "7");
    for (const long long nowhere : {-1LL, LLONG_MIN})
        EXPECT_LT(stream.SeekByte(nowhere), 0);
    EXPECT_EQ(stream.SeekTime(1.0), -10005);
    EXPECT_EQ(stream.GetErrorStatus(), 0) << "a refused seek is no failure of the stream";
    EXPECT_EQ(readSome(stream, 1), "8");

    stream.Close();
    stream.Close();
    EXPECT_LT(stream.IsOpened(), 0);
    EXPECT_EQ(readSome(stream, 1), "-10002");
    EXPECT_EQ(stream.GetCapabilities(), 0x10);
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(readSome(stream, 2), "01") << "from the beginning again";
    EXPECT_EQ(property(stream, 2), dir.file("tune"));
    EXPECT_EQ(property(stream, 3), "local");
    EXPECT_EQ(property(stream, 4), "as it was");
    EXPECT_EQ(property(stream, 0), "as it was");
}

TEST(FileStream, PositionsAboveFourGiB)
{
    TempDir dir;
    store(dir.file("large"), "");
    const long long length = 5LL << 30;
    ASSERT_EQ(::truncate(dir.file("large").c_str(), length), 0);
    FileStream stream(dir.file("large"));
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(property(stream, 1), "5368709120");
    EXPECT_EQ(stream.SeekByte(length - 3), 0);
    EXPECT_EQ(readSome(stream, 10), std::string(3, '\0'));
    EXPECT_EQ(readSome(stream, 10), std::to_string(End));
}

TEST(FileStream, AFileThatShrinksEnds)
{
    TempDir dir;
    store(dir.file("tune"), "0123456789");
    FileStream stream(dir.file("tune"));
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(readSome(stream, 6), "012345");
    ASSERT_EQ(::truncate(dir.file("tune").c_str(), 3), 0);
    EXPECT_EQ(readSome(stream, 4), std::to_string(End));
    EXPECT_EQ(property(stream, 1), "3");
}

TEST(FileStream, FailuresKeepTheirErrnoOverClose)
{
    TempDir dir;
    FileStream folder(dir.file(""));
    EXPECT_EQ(folder.Open(), Failed);
    EXPECT_EQ(folder.GetErrorStatus(), EISDIR);
    EXPECT_EQ(folder.GetCapabilities(), 0);
    EXPECT_EQ(property(folder, 1), "as it was");

    FileStream late(dir.file("late"));
    EXPECT_EQ(late.Open(), Failed);
    late.Close();
    EXPECT_EQ(late.GetErrorStatus(), ENOENT);
    store(dir.file("late"), "x");
    EXPECT_EQ(late.Open(), 0);
    EXPECT_EQ(late.GetErrorStatus(), 0);

    // A read that fails: the first page of a process's own memory is not there.
    FileStream memory("/proc/self/mem");
    ASSERT_EQ(memory.Open(), 0);
    EXPECT_EQ(readSome(memory, 4), "-10002");
    memory.Close();
    EXPECT_EQ(memory.GetErrorStatus(), EIO);
}

TEST(FileStream, LeavesNoDescriptorBehind)
{
    TempDir dir;
    store(dir.file("tune"), "x");
    ASSERT_EQ(::mkfifo(dir.file("pipe").c_str(), 0600), 0);
    const int before = openDescriptors();
    for (const char* name : {"tune", "pipe", "", "nosuch"}) {
        FileStream stream(dir.file(name));
        for (int round = 0; round < 3; ++round) {
            stream.Open();
            stream.Open();
            stream.Close();
        }
        stream.Open();
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(Pipe, WaitsForItsWriterAndEndsWithIt)
{
    ASSERT_EQ(stream.Open(), 0) << "does not wait for the writer";
    EXPECT_EQ(stream.GetCapabilities(), 0);
    EXPECT_EQ(property(stream, 1), "as it was");
    EXPECT_EQ(stream.SeekByte(0), -10005);
    std::thread writer([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const int end = ::open(path.c_str(), O_WRONLY);
        EXPECT_EQ(::write(end, "abc", 3), 3);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(::write(end, "def", 3), 3);
        ::close(end);
    });
    std::string all;
    for (std::string some; (some = readSome(stream, 100))[0] != '-';)
        all += some;
    writer.join();
    EXPECT_EQ(all, "abcdef");
    EXPECT_EQ(readSome(stream, 100), std::to_string(End));
}

TEST_F(Pipe, CloseEndsABlockedRead)
{
    for (const bool hasWriter : {false, true}) {
        ASSERT_EQ(stream.Open(), 0);
        const int end = hasWriter ? ::open(path.c_str(), O_WRONLY) : -1;
        std::atomic<bool> reading{false};
        std::string answer;
        std::thread reader([&] {
            reading = true;
            answer = readSome(stream, 10);
        });
        EXPECT_TRUE(eventually([&] { return reading.load(); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        stream.Close();
        reader.join();
        EXPECT_EQ(answer, "-10002");
        EXPECT_EQ(stream.GetErrorStatus(), 0) << "closing is no failure";
        ::close(end);
    }
}

TEST_F(Pipe, CloseAtAnyMoment)
{
    const int end = ::open(path.c_str(), O_RDWR);
    std::atomic<bool> over{false};
    std::thread closer([&] {
        while (!over) {
            stream.Close();
            stream.GetErrorStatus();
            stream.GetCapabilities();
            EXPECT_EQ(::write(end, "x", 1), 1);
            std::this_thread::yield();
        }
    });
    for (int round = 0; round < 2000; ++round) {
        stream.Open();
        const std::string answer = readSome(stream, 65536);
        EXPECT_TRUE(answer == "-10002" || answer[0] == 'x') << answer;
    }
    over = true;
    closer.join();
    ::close(end);
}
