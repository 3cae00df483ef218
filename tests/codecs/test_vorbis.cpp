#include "DecoderRun.h"
#include "LogCapture.h"
#include "OggVorbisDecoder.h"
#include "TestData.h"

#include <ogg/ogg.h>
#include <tremor/ivorbisfile.h>

#include <cstring>

using namespace avr::test;
using namespace kiv::appli;
using Events = std::vector<int>;
using Samples = std::vector<short>;

namespace {

struct Memory {
    Bytes const& bytes;
    std::size_t at;
};

std::size_t readMemory(void* buf, std::size_t size, std::size_t count, void* source)
{
    auto& memory = *static_cast<Memory*>(source);
    std::size_t const taken = std::min(size * count, memory.bytes.size() - memory.at);
    std::memcpy(buf, memory.bytes.data() + memory.at, taken);
    memory.at += taken;
    return taken;
}

/// A file of one link as the library itself decodes it, every channel.
Samples decodeDirectly(Bytes const& file)
{
    Memory memory{file, 0};
    OggVorbis_File vorbis{};
    ov_callbacks const callbacks{readMemory, nullptr, nullptr, nullptr};
    EXPECT_EQ(0, ov_open_callbacks(&memory, &vorbis, nullptr, 0, callbacks));
    Samples samples;
    short some[4096];
    int section = 0;
    for (long got = 1; got > 0;) {
        got = ov_read(&vorbis, reinterpret_cast<char*>(some), sizeof some, &section);
        samples.insert(samples.end(), some, some + std::max(got, 0L) / 2);
    }
    ov_clear(&vorbis);
    return samples;
}

/// The places of the left and the right channel of the files.
struct Layout {
    const char* name;
    std::size_t channels, left, right;
};
constexpr Layout Mono{"mono.ogg", 1, 0, 0};
constexpr Layout Stereo{"stereo.ogg", 2, 0, 1};
constexpr Layout Three{"three.ogg", 3, 0, 2};
constexpr Layout Four{"four.ogg", 4, 0, 1};
constexpr Layout Surround{"surround.ogg", 6, 0, 2}; // the centre stands between

Bytes expected(Layout const& file, std::size_t channels)
{
    Samples const all = decodeDirectly(testData(file.name));
    Bytes pcm;
    for (std::size_t at = 0; at < all.size(); at += file.channels) {
        int const left = all[at + file.left];
        int const right = all[at + file.right];
        append(pcm, static_cast<std::uint32_t>(channels == 1 ? (left + right) / 2 : left), 2);
        if (channels == 2)
            append(pcm, static_cast<std::uint32_t>(right), 2);
    }
    return pcm;
}

/// A file with another number in its first packet.
Bytes withNumber(std::size_t at, std::uint32_t number)
{
    constexpr long HeaderBytes = 28, PacketBytes = 30;
    Bytes file = testData("stereo.ogg");
    for (std::size_t i = 0; i < 4; ++i)
        file[HeaderBytes + at + i] = static_cast<std::uint8_t>(number >> 8 * i);
    ogg_page page{file.data(), HeaderBytes, file.data() + HeaderBytes, PacketBytes};
    ogg_page_checksum_set(&page);
    return file;
}

class Vorbis : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    std::string get(int property)
    {
        std::string value = "x";
        int const result = decoder.GetProperty(property, value);
        return result == Ok ? value : value + std::to_string(result);
    }

    OggVorbisDecoder decoder;
};

} // namespace

TEST_F(Vorbis, ChainsPlayWithTheChannelsOfTheirFirstLink)
{
    std::vector<std::vector<Layout>> const chains = {
        {Mono},          {Stereo}, {Three, Four}, {Mono, Stereo}, {Stereo, Mono, Surround},
        {Mono, Surround}};
    for (auto const& chain : chains) {
        std::size_t const channels = std::min<std::size_t>(chain.front().channels, 2);
        Script script;
        Bytes pcm;
        for (Layout const& link : chain) {
            append(script.data, testData(link.name));
            append(pcm, expected(link, channels));
        }
        for (int way = 0; way < 4; ++way) {
            script.type = way == 3 ? "other" : way == 2 ? "http:inet" : "local";
            script.longestRead = way == 0 ? 0 : 1777;
            script.retryBeforeEach = way >= 2;
            FakeSoundDevice::instance().beginRun();
            open(script);
            play();
            EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
            EXPECT_EQ(channels, callback.info().format.channels);
            EXPECT_TRUE(pcm == callback.pcm()) << chain.size() << ' ' << way;
            EXPECT_EQ(2048 * channels, callback.blocks().front());
        }
    }
}

TEST_F(Vorbis, DescribesTheStreamWhileItRuns)
{
    EXPECT_EQ("-10002", get(0));
    open(testData("surround.ogg"));
    EXPECT_EQ(Ok, decoder.Start());
    ASSERT_TRUE(callback.waitFor(2));
    DecoderStreamInfo const info = callback.info();
    EXPECT_EQ(2, info.format.channels);
    EXPECT_EQ(4, info.format.blockAlign);
    EXPECT_EQ(16, info.format.validBitsPerSample);
    EXPECT_EQ(44100u, info.format.samplesPerSecond);
    EXPECT_EQ(176400u, info.format.averageBytesPerSecond);
    EXPECT_EQ(CodecOggVorbis, info.codecId);
    EXPECT_EQ(static_cast<std::uint32_t>(OV_EINVAL), info.decoderWord);
    EXPECT_EQ(std::to_string(info.bitRate), get(DecoderPropTypeBase::SampleRate));
    EXPECT_EQ(std::to_string(info.bitRate), get(DecoderPropTypeBase::BitRate));
    EXPECT_EQ("44100", get(DecoderPropTypeBase::BitsPerSample));
    EXPECT_EQ("2", get(DecoderPropTypeBase::Channels));
    EXPECT_EQ("OggVorbis", get(DecoderPropTypeBase::CodecName));
    for (int type : {3, 5, 7, -1})
        EXPECT_EQ("-10002", get(type));
    play();
    EXPECT_EQ("-10002", get(0));
}

TEST_F(Vorbis, NumbersHave32BitsOnEveryMachine)
{
    constexpr std::size_t RateAt = 12, NominalBitRateAt = 20;
    open(withNumber(NominalBitRateAt, 0xFFFFFFFF));
    EXPECT_EQ(Ok, decoder.Start());
    ASSERT_TRUE(callback.waitFor(2));
    EXPECT_EQ(0xFFFFFFFF, callback.info().bitRate);
    EXPECT_EQ("-1", get(DecoderPropTypeBase::BitRate));
    play();
    open(withNumber(RateAt, 0x80000001));
    expectOneRun();
    EXPECT_EQ((Events{11, 1}), callback.events());
}

TEST_F(Vorbis, SeeksAreRefusedWithALine)
{
    EXPECT_EQ(ErrorNotSupported, decoder.Seek(1L));
    EXPECT_EQ(ErrorNotSupported, decoder.Seek(1.0));
    EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
    for (bool seekable : {true, false}) {
        Script script;
        script.data = testData("mono.ogg");
        script.capabilities = seekable ? script.capabilities : 0;
        openAndWait(script);
        LogCapture log(seekable ? STDERR_FILENO : STDOUT_FILENO);
        EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
        EXPECT_TRUE(log.has(seekable
                                ? "this stream is not seekable\n"
                                : "[OggVorbisDecoder::Seek] stream couldn't support Byte Seek\n"));
    }
}

TEST_F(Vorbis, DamageCostsOnlyItself)
{
    Bytes file = testData("stereo.ogg");
    Bytes const pcm = expected(Stereo, 2);
    Bytes page(file.begin(), file.begin() + 4); // "OggS"
    std::vector<std::size_t> pages;
    for (auto at = file.begin(); at != file.end(); ++at) {
        at = std::search(at, file.end(), page.begin(), page.end());
        if (at == file.end())
            break;
        pages.push_back(static_cast<std::size_t>(at - file.begin()));
    }
    ASSERT_GT(pages.size(), 4u);
    Bytes holed = file;
    holed[pages[3] + 60] ^= 1;
    LogCapture log;
    open(holed);
    play();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
    EXPECT_TRUE(log.has("[OggVorbisDecoder::PlayThread] OV_HOLE error caused and continue. \n"
                        "[OggVorbisDecoder::PlayThread] error caused. readSize = 0\n"));
    EXPECT_GT(callback.pcm().size(), 0u);
    EXPECT_LT(callback.pcm().size(), pcm.size());

    file.resize(pages.back());
    open(file);
    play();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
    EXPECT_EQ(1, FakeSoundDevice::instance().marksPut);
    Bytes const played = callback.pcm();
    ASSERT_GT(played.size(), 0u);
    EXPECT_TRUE(std::equal(played.begin(), played.end(), pcm.begin()));
}

TEST_F(Vorbis, WhatIsNoVorbisFailsToOpen)
{
    Bytes const file = testData("mono.ogg");
    for (Bytes const& data : {Bytes(), noise(100000), Bytes(file.begin(), file.begin() + 1000)}) {
        LogCapture log;
        open(data);
        expectOneRun();
        EXPECT_EQ((Events{11, 1}), callback.events());
        EXPECT_TRUE(log.has("ERROR: ov_open()\n"));
    }
}
