#include "AsfFile.h"
#include "BuildKind.h"
#include "Deadlines.h"
#include "DecoderRun.h"
#include "LogCapture.h"
#include "TestData.h"
#include "VWmaDecoder.h"
#include "WmaPlay.h"

#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Events = std::vector<int>;

namespace {

class StreamDecoder : public DecoderRun {
protected:
    IDecoder& underTest() override { return decoder; }

    VWmaDecoder decoder;
};

bool startsWith(Bytes const& all, Bytes const& head)
{
    return head.size() <= all.size() && std::equal(head.begin(), head.end(), all.begin());
}

Bytes utf16(std::u16string const& text)
{
    Bytes bytes;
    for (char16_t unit : text)
        append(bytes, unit, 2);
    return bytes;
}

/// A record as a station puts it into its stream.
Bytes titleRecord(std::u16string const& text)
{
    return joined({utf16(std::u16string(u"TEXT") + u'\0'), utf16(text + u'\0')});
}

/// A file with room for a record at the end of each packet.
struct TitledFile {
    static constexpr std::uint8_t Padding = 0xEE;

    TitledFile(AsfFile asf, std::uint32_t packet)
        : packetBytes(packet), dataAt(asf.header(0).size())
    {
        asf.layout = AsfFile::Layout::Single;
        asf.packetBytes = packetBytes;
        bytes = asf.bytes();
    }
    void putTitle(std::size_t packet, std::u16string const& text)
    {
        Bytes const record = titleRecord(text);
        std::size_t const end = dataAt + (packet + 1) * packetBytes;
        ASSERT_EQ(Padding, bytes[end - record.size() - 1]);
        std::copy(record.begin(), record.end(), bytes.begin() + long(end - record.size()));
    }

    std::uint32_t const packetBytes;
    std::size_t const dataAt;
    Bytes bytes;
};

AsfFile standardFile()
{
    AsfFile asf;
    asf.blockAlign = 743;
    for (std::uint32_t i = 0; i < 20; ++i)
        asf.blocks.push_back(noise(743, i));
    asf.extra = {0, 0, 0, 0, 15, 0, 0, 0, 0, 0};
    return asf;
}

} // namespace

TEST_F(StreamDecoder, StandardWmaIsTheCodecsButForItsLastBlock)
{
    for (const char* name : {"wma1.wma", "wma2.wma"}) {
        Bytes const file = testData(name);
        for (const char* address : {"file", "mms://host/it"}) {
            Script script;
            script.data = file;
            script.address = address;
            open(script);
            play();
            EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
            WmaPlay direct(file);
            std::size_t const block = 1024u * direct.info.channels * 2;
            std::size_t const all = direct.all().size();
            EXPECT_TRUE(startsWith(direct.pcm, callback.pcm()));
            EXPECT_EQ((all - 1) / block * block, callback.pcm().size());
            EXPECT_EQ(std::vector<unsigned int>((all - 1) / block, unsigned(block)),
                      callback.blocks());
        }
    }
}

TEST_F(StreamDecoder, LosslessIsTheSourceBitForBit)
{
    for (std::uint16_t bits : {std::uint16_t(16), std::uint16_t(24)})
        for (std::uint16_t channels : {std::uint16_t(1), std::uint16_t(2)})
            for (std::uint32_t rate : {44100u, 96000u}) {
                Bytes const pcm = noise(std::size_t(bits / 8 * channels) * 70011);
                AsfFile asf = losslessFile(pcm, channels, bits, rate);
                asf.packetBytes = 30000;
                LogCapture log(STDOUT_FILENO);
                open(asf.bytes());
                ASSERT_TRUE(callback.waitFor(2));
                EXPECT_EQ(ErrorFailed, decoder.Seek(1L));
                EXPECT_TRUE(log.has("WMA_FILE:: Got -1 while decoding\n"));
                play();
                EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
                EXPECT_TRUE(callback.pcm() == pcm) << bits << ' ' << channels << ' ' << rate;
                EXPECT_EQ(bits, callback.info().format.bitsPerSample);
                EXPECT_EQ(rate, callback.info().format.samplesPerSecond);
            }
}

TEST_F(StreamDecoder, ASeekIsHeardBehindTheBlockThatWaits)
{
    Bytes const file = testData("wma2.wma");
    WmaPlay direct(file);
    direct.all();
    for (unsigned int ms : {1000u, 0u, direct.info.duration}) {
        direct.seek(ms);
        direct.pcm.clear();
        Bytes const tail = direct.all();
        bool sought = false;
        callback.onSample = [&] {
            if (!std::exchange(sought, true)) {
                EXPECT_EQ(Ok, decoder.Seek(TimeSpec{ms / 1000, ms % 1000 * 1000000}));
            }
            return 0;
        };
        open(file);
        play();
        EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
        constexpr std::size_t Block = 4096;
        Bytes const pcm = callback.pcm();
        ASSERT_GE(pcm.size(), 2 * Block) << "the old position's";
        EXPECT_TRUE(startsWith(tail, {pcm.begin() + 2 * Block, pcm.end()})) << ms;
        EXPECT_GT(pcm.size() + Block, tail.size());
        EXPECT_EQ(ResultEndOfStream == decoder.Seek(0L), false) << "there is no run";
    }
}

TEST_F(StreamDecoder, ASeekFromTheEndPlaysOn)
{
    Bytes const file = testData("wma2.wma");
    open(file);
    ASSERT_TRUE(callback.waitFor(2));
    FakeSoundDevice& device = FakeSoundDevice::instance();
    device.completes = false;
    decoder.Start();
    while (device.marksPut == 0)
        std::this_thread::yield();
    std::size_t const once = callback.pcm().size();
    EXPECT_EQ(ResultEndOfStream, decoder.Seek(100000L));
    EXPECT_EQ(Ok, decoder.Seek(0L));
    device.putEofMark(false); // as the player does where a seek has succeeded
    device.completes = true;
    expectOneRun();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
    EXPECT_GE(callback.pcm().size(), 2 * once);
    EXPECT_LE(callback.pcm().size(), 2 * once + 4096) << "and what had waited";
}

TEST_F(StreamDecoder, ASeekDoesNotWaitForDataOfTheOldPlace)
{
    Avr::Decoder::deadlines().readWait = std::chrono::hours(1);
    Script dry;
    dry.data = testData("wma2.wma");
    dry.retriesFrom = 4000; // it goes on where it is positioned
    openAndWait(dry);
    decoder.Start();
    while (stream->reads() < 5)
        std::this_thread::yield();
    EXPECT_EQ(Ok, decoder.Seek(700L));
    ASSERT_TRUE(callback.waitFor(1));
    Avr::Decoder::deadlines() = Avr::Decoder::Deadlines();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
    EXPECT_FALSE(callback.pcm().empty());
}

TEST_F(StreamDecoder, AFlippedByteIsNoHarm)
{
    std::size_t const step = Emulated ? 13 : 3;
    for (Bytes file : {testData("wma2.wma"), losslessFile(noise(30000), 2, 16, 44100).bytes()})
        for (std::size_t at = 0; at < file.size(); at += at < 700 ? step : 499) {
            Bytes flipped = file;
            flipped[at] = static_cast<std::uint8_t>(flipped[at] ^ (at % 2 == 0 ? 0xFF : 0x10));
            open(flipped);
            while (callback.count(1) + callback.count(2) == 0)
                std::this_thread::yield();
            decoder.Start();
            expectOneRun();
            int const opened = callback.count(2);
            EXPECT_EQ(opened, callback.count(6)) << at;
            EXPECT_EQ(1 - opened, callback.count(11)) << at;
        }
}

TEST_F(StreamDecoder, TitlesAreToldAsTheyComeBy)
{
    struct {
        std::u16string text;
        std::string artist, title;
    } const cases[] = {
        {u"ARTIST Foo|TITLE Bar", "Foo", "Bar"},
        {u"TITLE\t Größe |x|ARTISTЖанна", "Жанна", "Größe "},
        {u"ARTIST 初音\U0001F3B5|TITLE ", "初音\U0001F3B5", ""},
        {u"ARTIST", "", ""},
        {u"TITLE SUB ARTIST|ARTIST Foo", "", "SUB ARTIST"},
        {u"TITLE " + std::u16string(300, u'x'), "", std::string(250, 'x')},
        {u"TITLE x" + std::u16string(300, u'é'), "",
         "x" +
             [] {
                 std::string most;
                 while (most.size() + 2 <= 249)
                     most += "é";
                 return most;
             }()},
    };
    LogCapture log;
    TitledFile file(standardFile(), 4500);
    std::size_t packet = 0;
    for (auto const& each : cases) {
        file.putTitle(packet, each.text);
        packet += 2; // what stands in the block that ends a record is not looked at
    }
    file.putTitle(19, u"TITLE never|"); // nothing is read behind it
    open(file.bytes);
    play();
    auto const titles = callback.titles();
    ASSERT_EQ(std::size(cases), titles.size()) << log.text();
    for (std::size_t i = 0; i < titles.size(); ++i) {
        EXPECT_EQ(cases[i].artist, titles[i].artist) << i;
        EXPECT_EQ(cases[i].title, titles[i].title) << i;
    }
    EXPECT_TRUE(log.has("[AppendDataToPDT] :: Found PDT, Artist=Foo, Title=Bar\n"));
    EXPECT_EQ(int(titles.size()), callback.count(7));
}

TEST_F(StreamDecoder, ATitleInTheHeadComesBeforeItsFormat)
{
    AsfFile asf = standardFile();
    asf.spread = titleRecord(u"ARTIST A|TITLE B");
    open(asf.bytes());
    ASSERT_TRUE(callback.waitFor(2));
    EXPECT_EQ((Events{7, 2}), callback.events());
    EXPECT_EQ("A", callback.titles()[0].artist);
    EXPECT_EQ(0, decoder.AppendDataToPDT(nullptr, 0));
    decoder.Close();

    // A title that a run has begun is not the next one's to end.
    asf.spread = titleRecord(u"ARTIST A|TITLE B");
    asf.spread.resize(asf.spread.size() - 2);
    Bytes cut = asf.bytes();
    cut.resize(asf.header(0).size() - 60);
    open(cut);
    expectOneRun();
    open(standardFile().bytes());
    play();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
}

TEST_F(StreamDecoder, LosslessStreamsTellNoTitles)
{
    Bytes const pcm = noise(60000);
    TitledFile file(losslessFile(pcm, 2, 16, 44100), 9000);
    file.putTitle(0, u"ARTIST A|TITLE B");
    file.putTitle(4, u"ARTIST A|TITLE B");
    open(file.bytes);
    play();
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());
    EXPECT_TRUE(callback.pcm() == pcm);
}
