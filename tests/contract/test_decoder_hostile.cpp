// Streams and players that do whatever they like, at any moment, on any thread.
#include "BuildKind.h"
#include "Deadlines.h"
#include "DecodersUnderTest.h"
#include "FakeSoundDevice.h"
#include "LogCapture.h"
#include "Samples.h"
#include "decoder/IDecoderCallback.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <stdexcept>
#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Avr::Decoder::Deadlines;
using Avr::Decoder::deadlines;

namespace {

unsigned any(unsigned below)
{
    thread_local std::mt19937 random(std::random_device{}());
    return static_cast<unsigned>(random() % below);
}

void throwOnceIn(unsigned times)
{
    if (any(times) != 0)
        return;
    if (any(2) == 0)
        throw std::runtime_error("hostile");
    throw 7;
}

class HostileStream final : public Avr::Interface::IReadableStream {
public:
    explicit HostileStream(Bytes data) : m_data(std::move(data)) {}

    int IsOpened() override
    {
        throwOnceIn(400);
        return any(200) == 0 ? -1 : m_open ? 0 : -1;
    }
    int Open() override
    {
        throwOnceIn(30);
        m_offset = 0;
        m_open = any(30) != 0;
        return m_open ? 0 : -9;
    }
    void Close() override
    {
        m_open = false;
        throwOnceIn(4);
    }
    int Read(void* buf, unsigned int len, unsigned int* got) override
    {
        static const int Lies[] = {-10101, -10002, -62, -10103, 0, 5, -1};
        *got = 0;
        if (m_offset > 6000 && any(30) == 0) {
            throwOnceIn(8);
            *got = any(2) == 0 ? 0xFFFFFFFFu : any(10);
            std::memset(buf, 1, len);
            return Lies[any(7)];
        }
        std::size_t const from = std::min<std::size_t>(m_offset, m_data.size());
        std::size_t const most = std::min<std::size_t>(len, m_data.size() - from);
        *got = static_cast<unsigned int>(std::min<std::size_t>(most, 1 + any(20000)));
        if (!m_open || *got == 0)
            return m_open ? ResultEndOfStream : ErrorFailed;
        std::memcpy(buf, m_data.data() + from, *got);
        m_offset = from + *got;
        return 0;
    }
    int GetCapabilities() override
    {
        throwOnceIn(20);
        return static_cast<int>(any(4) << 4);
    }
    int SeekByte(long long offset) override
    {
        throwOnceIn(10);
        m_offset = static_cast<std::size_t>(offset);
        return static_cast<int>(any(4)) - 1;
    }
    int SeekTime(double) override
    {
        throwOnceIn(10);
        return static_cast<int>(any(3)) - 1;
    }
    int GetStreamProperty(int, std::string& value) override
    {
        static const char* const Texts[] = {
            "", "abc", "99999999999999999999", "-5", "-9223372036854775808", "100000"};
        throwOnceIn(20);
        value = Texts[any(6)];
        return static_cast<int>(any(5)) - 1;
    }
    int GetErrorStatus() override
    {
        throwOnceIn(5);
        return static_cast<int>(any(2));
    }

private:
    Bytes const m_data;
    std::atomic<std::size_t> m_offset{0};
    std::atomic<bool> m_open{false};
};

/// Calls the decoder from inside its own callbacks, throws, refuses.
class HostilePlayer final : public IDecoderCallback {
public:
    explicit HostilePlayer(IDecoder& decoder) : m_decoder(decoder) {}

    int OnSample(const void*, unsigned int, TimeSpec*) override
    {
        note();
        return any(200) == 0 ? -4 : act();
    }
    int OnEvent(int event, void*, unsigned int) override
    {
        note();
        if (event == EventStreamInfo)
            FakeSoundDevice::instance().beginRun();
        if (event == EventClosed)
            ++closed;
        return act();
    }

    std::atomic<int> closed{0};
    std::atomic<int> late{0};

private:
    void note()
    {
        if (closed != 0)
            ++late;
    }
    int act()
    {
        switch (any(60)) {
        case 0:
            return m_decoder.Close();
        case 1:
            throw 3;
        case 2:
            return m_decoder.Seek(TimeSpec{any(3), 0}), 0;
        case 3:
            return m_decoder.Start(), 0;
        case 4:
            return m_decoder.Pause(), 0;
        case 5:
            EXPECT_EQ(ErrorFailed,
                      m_decoder.Open(boost::make_shared<HostileStream>(Bytes()), this));
            return 0;
        default:
            return 0;
        }
    }

    IDecoder& m_decoder;
};

class Hostile : public testing::TestWithParam<DecoderUnderTest> {
protected:
    Hostile()
    {
        deadlines().readWait = std::chrono::milliseconds(10);
        deadlines().endPoll = std::chrono::milliseconds(1);
    }
    ~Hostile() override { deadlines() = Deadlines(); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Decoders, Hostile, testing::ValuesIn(decodersUnderTest()),
                         [](auto const& row) { return std::string(row.param.name); });

TEST_P(Hostile, EveryRunEndsWithItsOneCloseEvent)
{
    LogCapture log;
    std::unique_ptr<IDecoder> decoder = GetParam().make();
    for (int round = 0; round < (Slow ? 60 : 200); ++round) {
        HostilePlayer player(*decoder);
        Bytes data = GetParam().sample;
        if (any(3) == 0)
            data[any(48)] = static_cast<std::uint8_t>(any(256));
        GetParam().prepare();
        bool const opened = decoder->Open(boost::make_shared<HostileStream>(data), &player) == Ok;
        std::atomic<bool> done{false};
        std::thread other([&] {
            while (!done) {
                tWAVEFORMAT format;
                std::string text = "8000";
                decoder->Start();
                decoder->Pause();
                decoder->Seek(TimeSpec{any(2), any(1000000000)});
                decoder->Resume();
                decoder->SetProperty(0, text);
                decoder->GetProperty(6, text);
                decoder->GetWaveFormat(format);
                std::this_thread::sleep_for(std::chrono::microseconds(any(300)));
            }
        });
        std::this_thread::sleep_for(std::chrono::microseconds(any(15000)));
        decoder->Close();
        done = true;
        other.join();
        if (GetParam().has(Trait::TriesTwice)) {
            ASSERT_TRUE(player.closed <= 2 && (player.closed >= 1 || !opened)) << player.closed;
        } else {
            ASSERT_EQ(opened ? 1 : 0, player.closed);
            ASSERT_EQ(0, player.late);
        }
    }
}
