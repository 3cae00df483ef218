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
const std::string End = "-10101";

/// What one read gives, or its result as text.
std::string readSome(FileStream& stream, unsigned int len)
{
    std::string data(len, '\0');
    unsigned int got = 99;
    const int result = stream.Read(data.data(), len, &got);
    return result == 0 ? data.substr(0, got) : std::to_string(result);
}

std::string length(FileStream& stream)
{
    std::string value = "as it was";
    stream.GetStreamProperty(FileStream::ContentLength, value);
    return value;
}

class Files : public testing::Test {
protected:
    Files() { EXPECT_EQ(::mkfifo(pipe.c_str(), 0600), 0); }
    ~Files() override
    {
        stream.Close();
        piped.Close();
        EXPECT_EQ(openDescriptors(), before) << "left open";
    }
    static long openDescriptors()
    {
        using std::filesystem::directory_iterator;
        return std::distance(directory_iterator("/proc/self/fd"), {});
    }
    const long before = openDescriptors();
    TempDir dir;
    const std::string tune = dir.file("tune");
    const std::string pipe = dir.file("pipe");
    FileStream stream{tune};
    FileStream piped{pipe};
};

} // namespace

TEST_F(Files, PositionsLengthsAndEnds)
{
    store(tune, "");
    ASSERT_EQ(::truncate(tune.c_str(), 5LL << 30), 0);
    EXPECT_EQ(length(stream), "5368709120") << "asked before Open";
    ASSERT_EQ(stream.Open(), 0);
    EXPECT_EQ(stream.SeekByte((5LL << 30) - 3), 0);
    for (const long long nowhere : {-1LL, LLONG_MIN})
        EXPECT_LT(stream.SeekByte(nowhere), 0);
    EXPECT_EQ(stream.SeekTime(1.0), -10005);
    EXPECT_EQ(stream.GetErrorStatus(), 0) << "a refused seek is no failure of the stream";
    EXPECT_EQ(readSome(stream, 2), std::string(2, '\0'));
    ASSERT_EQ(::truncate(tune.c_str(), 3), 0);
    EXPECT_EQ(readSome(stream, 4), End);
    EXPECT_EQ(readSome(stream, 0), "") << "nothing asked for is no end";
    EXPECT_EQ(length(stream), "3");
}

TEST_F(Files, FailuresKeepTheirErrnoOverClose)
{
    FileStream folder(dir.file(""));
    EXPECT_EQ(folder.Open(), Failed);
    EXPECT_EQ(folder.GetErrorStatus(), EISDIR);
    EXPECT_EQ(length(folder), "as it was");
    EXPECT_EQ(stream.Open(), Failed);
    stream.Close();
    EXPECT_EQ(stream.GetErrorStatus(), ENOENT);
    store(tune, "x");
    EXPECT_EQ(stream.Open(), 0);
    EXPECT_EQ(stream.GetErrorStatus(), 0);
    // A read that fails: the first page of a process's own memory is not there.
    FileStream memory("/proc/self/mem");
    ASSERT_EQ(memory.Open(), 0);
    EXPECT_EQ(readSome(memory, 4), "-10002");
    memory.Close();
    EXPECT_EQ(memory.GetErrorStatus(), EIO);
}

TEST_F(Files, APipeWaitsForItsWriterOrClose)
{
    ASSERT_EQ(piped.Open(), 0) << "does not wait for the writer";
    EXPECT_EQ(piped.SeekByte(0), -10005);
    std::thread late([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        store(pipe, "abc");
    });
    EXPECT_EQ(readSome(piped, 100), "abc");
    late.join();
    EXPECT_EQ(readSome(piped, 100), End);
    for (const int flags : {O_RDONLY | O_NONBLOCK, O_RDWR}) { // without a writer and with one
        piped.Close();
        const int end = ::open(pipe.c_str(), flags);
        ASSERT_EQ(piped.Open(), 0);
        std::thread reader([&] { EXPECT_EQ(readSome(piped, 10), "-10002"); });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        piped.Close();
        reader.join();
        EXPECT_EQ(piped.GetErrorStatus(), 0) << "closing is no failure";
        ::close(end);
    }
}

TEST_F(Files, CloseAtAnyMoment)
{
    const int end = ::open(pipe.c_str(), O_RDWR | O_NONBLOCK);
    std::atomic<bool> over{false};
    std::thread closer([&] {
        for (; !over; std::this_thread::yield()) {
            piped.Close();
            EXPECT_NE(::write(end, "x", 1), 0);
        }
    });
    for (int round = 0; round < 2000; ++round) {
        piped.Open();
        piped.Open();
        const std::string answer = readSome(piped, 65536);
        EXPECT_TRUE(answer == "-10002" || answer[0] == 'x') << answer;
    }
    over = true;
    closer.join();
    ::close(end);
}
