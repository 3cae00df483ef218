// What the decoders ask of the codecs and of the read-ahead buffer, and how they answer a player.
#include "../codecs/ScriptedRun.h"
#include "AsfGlue.h"
#include "FakeBufferStream.h"
#include "ScriptedWma.h"
#include "VWmaDecoder.h"
#include "WMALosslessDecoder.h"
#include "WMAStdDecoder.h"
#include "WmaSelector.h"

#include <climits>
#include <cstring>
#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using Step = ScriptedWma::Step;
using Journal = std::vector<std::string>;

namespace {

class WmaCalls : public ScriptedRun {
protected:
    WmaCalls()
    {
        script = ScriptedWma();
        script.standard.onInit = [] { bufferJournal().push_back("standard"); };
        script.lossless.onInit = [] { bufferJournal().push_back("lossless"); };
        bufferJournal().clear();
    }
    ~WmaCalls() override { script = ScriptedWma(); }

    IDecoder& underTest() override { return *decoder; }

    void openAt(const char* address)
    {
        bufferJournal().clear();
        Script local;
        local.data = noise(100);
        local.address = address;
        open(local);
        EXPECT_TRUE(callback.waitFor(2));
        decoder->Close();
    }
    std::string property(int type)
    {
        std::string text = "kept?";
        EXPECT_EQ(Ok, decoder->GetProperty(type, text)) << type;
        return text;
    }

    ScriptedWma& script = ScriptedWma::instance();
    std::unique_ptr<IDecoder> decoder = std::make_unique<VWmaDecoder>();
};

Journal operator+(Journal all, Journal const& more)
{
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

Journal const Small = {"size 192000", "start 96000", "stop 0", "buffering 1"};
Journal const Large = {"size 3072000", "start 1536000", "stop 0", "buffering 1"};
Journal const Rewind = {"lock 1", "seek 0", "lock 0"};

} // namespace

TEST_F(WmaCalls, EachKindOfStreamGetsItsBuffering)
{
    Journal const standard{"standard"}, lossless{"lossless"};
    LogCapture log;
    openAt("/a/mms.wma");
    EXPECT_EQ(standard + Small, bufferJournal());
    EXPECT_TRUE(log.has("[BufferReaderModule::StartBuffering] finished!!. size=192000\n"
                        "Select Standard Decoder\n"));
    openAt("mms://host/radio");
    EXPECT_EQ(Small + standard, bufferJournal());

    script.standard.begun = -1;
    openAt("");
    EXPECT_EQ(standard + Rewind + lossless + Large, bufferJournal());
    EXPECT_TRUE(log.has("[BufferReaderModule::StartBuffering] finished!!. size=3072000\n"
                        "Select Lossless Decoder\n"));
    openAt("mms");
    EXPECT_EQ(Small + standard + Rewind + lossless, bufferJournal());
}

TEST_F(WmaCalls, NeitherKindIsAFailure)
{
    LogCapture err, out(STDOUT_FILENO);
    script.standard.begun = -300;
    script.lossless.begun = -301;
    Script fixed;
    fixed.data = noise(100);
    fixed.capabilities = 0;
    open(fixed);
    expectOneRun();
    EXPECT_EQ(Refused, callback.events());
    EXPECT_EQ((Journal{"standard"}) + Rewind + Journal{"lossless"}, bufferJournal());
    EXPECT_EQ("WMA_FILE:: Failed in WMA_init = -300\n"
              "[openHookLL] :: Failed in init, error code = -301, error < -256 => parser error\n",
              linesWith({"WMA_", "LL"}, out));
    EXPECT_TRUE(err.has("[StreamSeek] Seek operation failed\n"));
    EXPECT_FALSE(err.has("Select"));
}

TEST_F(WmaCalls, TheCodecsGetTheirRecords)
{
    auto const lookAt = [&](bool hasInput) {
        __wma_params const& p = script.params;
        EXPECT_EQ(hasInput, p.context != nullptr);
        EXPECT_TRUE(p.read && p.seek && p.info && p.work1 && p.work2 && p.work3);
        EXPECT_EQ(1, p.flag);
        EXPECT_EQ(&WMA_KIV_parseAsfHeader, p.parseAsfHeader);
        EXPECT_EQ(&WMA_KIV_fileGetInput, p.fileGetInput);
        EXPECT_EQ(&WMA_KIV_seek, p.asfSeek);
        EXPECT_EQ(Bytes(ASF_ScratchBytes),
                  Bytes(static_cast<std::uint8_t*>(p.parserScratch),
                        static_cast<std::uint8_t*>(p.parserScratch) + ASF_ScratchBytes));
        // All of it is the codec's.
        std::memset(p.work1, 1, WMA_WorkBytes);
        std::memset(p.work2, 1, WMA_SmallWorkBytes);
        std::memset(p.work3, 1, WMA_WorkBytes);
        std::memset(p.parserScratch, 1, ASF_ScratchBytes);
    };
    auto const lookAtLossless = [&](bool hasInput) {
        __wmal_params const& p = script.losslessParams;
        EXPECT_EQ(hasInput, p.context != nullptr);
        EXPECT_TRUE(p.unused1 == 0 && p.unused2 == 0 && p.flag1 == 1 && p.flag2 == 1);
        EXPECT_TRUE(p.read && p.seek && p.info);
        EXPECT_EQ(&WMA_KIV_parseAsfHeader, p.parseAsfHeader);
        EXPECT_EQ(&WMA_KIV_fileGetInput, p.fileGetInput);
        EXPECT_EQ(&WMA_KIV_seek, p.asfSeek);
        EXPECT_EQ(0, *static_cast<char*>(p.parserScratch));
        std::memset(p.work, 1, WMAL_WorkBytes);
        std::memset(p.parserScratch, 1, ASF_ScratchBytes);
    };
    for (bool again : {false, true}) {
        script.standard.begun = 0;
        openAt("");
        lookAt(true);
        script.standard.begun = again ? 1 : -1;
        openAt("");
        lookAt(true);
        lookAtLossless(true);
    }
    script.standard.begun = 0;
    decoder = std::make_unique<WMAStdDecoder>();
    openAt("");
    lookAt(false);
    decoder = std::make_unique<WMALosslessDecoder>(nullptr);
    openAt("");
    lookAtLossless(false);

    // The functions go on to the reader's.
    unsigned short* data = nullptr;
    short bytes = 0, piece = 0;
    unsigned int reached = 0;
    EXPECT_EQ(-7, WMA_KIV_parseAsfHeader(3, 4, nullptr, nullptr, nullptr));
    EXPECT_EQ(70000, WMA_KIV_fileGetInput(&reached, &data, &bytes, nullptr, &piece));
    EXPECT_TRUE(static_cast<void*>(data) == &reached && bytes == 11 && piece == 12);
    EXPECT_EQ(-70000, WMA_KIV_seek(nullptr, 5, &reached));
    EXPECT_EQ(6u, reached);
}

TEST_F(WmaCalls, TheCodecsReadAndSeekInTheStream)
{
    LogCapture err, out(STDOUT_FILENO);
    auto const use = [&](ASF_ReadFunction read, ASF_SeekFunction seek, void* context) {
        Bytes const data = noise(100);
        Bytes got(100);
        EXPECT_EQ(20, read(got.data(), 2, 10, context));
        EXPECT_EQ(0, seek(context, 5, SEEK_CUR));
        EXPECT_EQ(0, seek(context, 1, SEEK_END));
        EXPECT_EQ(3, read(got.data(), 3, 1, context));
        EXPECT_EQ(data[25], got[0]);
        EXPECT_EQ(0, seek(context, 90, SEEK_SET));
        EXPECT_EQ(10, read(got.data(), 1, 10, context));
        EXPECT_EQ(data[90], got[0]);
        EXPECT_EQ(0, seek(context, -99, SEEK_CUR));
        EXPECT_EQ(1, read(got.data(), 1, 1, context));
        EXPECT_EQ(data[1], got[0]);
        EXPECT_EQ(0, read(got.data(), 100, 1, context)) << "there is not so much";
        EXPECT_EQ(0, read(nullptr, 1, 1, nullptr));
        EXPECT_EQ(0, seek(nullptr, 1, SEEK_SET));
    };
    script.standard.onInit = [&] {
        use(script.params.read, script.params.seek, script.params.context);
    };
    openAt("");
    EXPECT_TRUE(err.has("[StreamSeek] seek end!!\n"));
    EXPECT_TRUE(out.has("FP ERROR READ\nFP ERROR SEEK\n"));
    script.lossless.onInit = [&] {
        use(script.losslessParams.read, script.losslessParams.seek, script.losslessParams.context);
    };
    script.standard.onInit = nullptr;
    script.standard.begun = -1;
    openAt("");

    // A failed seek tells it. Behind the selector it is the same.
    VWMADecoder selector;
    for (ASF_SeekFunction seek : {script.params.seek, script.losslessParams.seek})
        EXPECT_EQ(1, seek(&selector.input(), 0, SEEK_SET)) << "no stream";
    Script fixed;
    fixed.data = noise(100);
    fixed.seeksFail = true;
    script.standard.begun = 0;
    script.standard.onInit = [&] {
        EXPECT_EQ(1, script.params.seek(script.params.context, 0, SEEK_SET));
    };
    openAndWait(fixed);
    decoder->Close();
    EXPECT_TRUE(err.has("[StreamSeek] Seek operation failed\n"));
}

TEST_F(WmaCalls, TheFormatIsTheFilesOwn)
{
    script.losslessInfo = {1, 0, 96000, 9000, 700000, 24, 0, 0, 3, 1};
    std::unique_ptr<IDecoder> const standard[] = {std::make_unique<VWmaDecoder>(),
                                                  std::make_unique<WMAStdDecoder>()};
    std::unique_ptr<IDecoder> const lossless[] = {std::make_unique<VWmaDecoder>(),
                                                  std::make_unique<WMALosslessDecoder>()};
    LogCapture log(STDOUT_FILENO);
    for (int i = 0; i < 2; ++i) {
        script.standard.begun = 0;
        standard[i]->Open(streamOf(noise(9)), &callback);
        EXPECT_TRUE(callback.waitFor(2));
        standard[i]->Close();
        DecoderStreamInfo info = callback.info();
        EXPECT_EQ(0x10000301u, info.codecId);
        EXPECT_EQ(64000u, info.bitRate);
        EXPECT_EQ(0u, info.decoderWord);
        EXPECT_EQ(1, info.format.formatTag);
        EXPECT_EQ(2, info.format.channels);
        EXPECT_EQ(4, info.format.blockAlign);
        EXPECT_EQ(176400u, info.format.averageBytesPerSecond);
        EXPECT_EQ(16, info.format.validBitsPerSample);
        callback.clear();

        script.standard.begun = -1;
        lossless[i]->Open(streamOf(noise(9)), &callback);
        EXPECT_TRUE(callback.waitFor(2));
        lossless[i]->Close();
        info = callback.info();
        EXPECT_EQ(0x10000302u, info.codecId);
        EXPECT_EQ(700000u, info.bitRate);
        EXPECT_EQ(1, info.format.channels);
        EXPECT_EQ(3, info.format.blockAlign);
        EXPECT_EQ(288000u, info.format.averageBytesPerSecond);
        EXPECT_EQ(24, info.format.bitsPerSample);
        callback.clear();
    }
    EXPECT_TRUE(log.has("++             sampling rate : 44100 Hz\n"
                        "++             # of channels : 2\n"
                        "++                  bit-rate : 64000 bps\n"
                        "++                  bit-per sample: 16 bps\n"
                        "++                  duration : 9000 ms\n"
                        "++  Total # of Audio Streams : 1\n\n"
                        "\n         sampling rate: 96000 Hz\n"
                        "       No. of channels: 1\n"
                        "              bit-rate: 700000 bps\n"
                        "              bit-per sample: 24 bps\n"
                        "              duration: 9000 ms\n"
                        "m_wmalInfo.dstChannel 1\n"
                        "      outputBitDepth 3\n"));
}

TEST_F(WmaCalls, PropertiesAndSeeks)
{
    struct {
        std::unique_ptr<IDecoder> decoder;
        std::string name;
        bool isLossless, seeksLossless;
    } rows[] = {
        {std::make_unique<VWmaDecoder>(), "wma", false, false},
        {std::make_unique<VWmaDecoder>(), "wma", true, false},
        {std::make_unique<WMAStdDecoder>(), "wma", false, false},
        {std::make_unique<WMALosslessDecoder>(), "wmalsl", true, true},
    };
    for (auto& row : rows) {
        decoder = std::move(row.decoder);
        script.standard.begun = row.isLossless ? -1 : 0;
        EXPECT_EQ(ErrorFailed, decoder->Seek(0L)) << "there is no run";
        openAndWait(Script());
        for (auto const& it : {std::pair("44100", 0), {"16", 1}, {"2", 2}, {"1411200", 6}})
            EXPECT_EQ(it.first, property(it.second));
        EXPECT_EQ(row.name, property(4));

        std::vector<unsigned int>& targets =
            (row.seeksLossless ? script.lossless : script.standard).targets;
        int& result = (row.seeksLossless ? script.lossless : script.standard).sought;
        LogCapture log(STDOUT_FILENO);
        targets.clear();
        result = 0;
        EXPECT_EQ(Ok, decoder->Seek(1500L));
        EXPECT_EQ(Ok, decoder->Seek(TimeSpec{1, 500999999}));
        EXPECT_EQ(Ok, decoder->Seek(long(INT_MAX)));
        result = 5;
        EXPECT_EQ(ResultEndOfStream, decoder->Seek(7L));
        result = -8;
        EXPECT_EQ(ErrorFailed, decoder->Seek(TimeSpec{2147483, 0}));
        for (TimeSpec const& far : {TimeSpec{2147484, 0}, TimeSpec{4294967295u, 999999999}})
            EXPECT_EQ(ErrorFailed, decoder->Seek(far));
        EXPECT_EQ(ErrorFailed, decoder->Seek(-1L));
        EXPECT_EQ(ErrorFailed, decoder->Seek(1.0));
        EXPECT_EQ((std::vector<unsigned int>{1500, 1500, INT_MAX, 7, 2147483000}), targets);
        EXPECT_EQ("no more flame\nWMA_FILE:: Got -8 while decoding\n",
                  linesWith({"flame", "Got"}, log));
        EXPECT_EQ(0, callback.count(10));
        std::string text = "1";
        EXPECT_EQ(ErrorFailed, decoder->SetProperty(0, text));
        EXPECT_EQ(row.seeksLossless, !script.lossless.targets.empty());
        decoder.reset();
    }
}

TEST_F(WmaCalls, ACloseBeforeASelectorHasItsAnswerFailsItsOpen)
{
    VWMADecoder selector;
    stream = streamOf(noise(100));
    std::thread closer;
    script.standard.onInit = [&] { // it will find its format
        closer = std::thread([&] { selector.Close(); });
        while (stream->closes() == 0)
            std::this_thread::yield();
    };
    EXPECT_EQ(ErrorFailed, selector.Open(stream, &callback));
    closer.join();
    EXPECT_EQ(std::vector<int>{1}, callback.events());
}

TEST_F(WmaCalls, ASelectorTriesOneKindAndThenTheOther)
{
    VWMADecoder selector;
    script.standard.begun = -1;
    script.lossless.steps = {Step{10}};
    stream = streamOf(noise(100));
    EXPECT_EQ(Ok, selector.Open(stream, &callback));
    EXPECT_TRUE(callback.waitFor(2));
    EXPECT_EQ(Ok, selector.Start());
    EXPECT_TRUE(callback.waitFor(1, 2));
    EXPECT_EQ((std::vector<int>{11, 1, 2, 4, 6, 1}), callback.events());
    Journal const buffer = {"size 256000", "start 128000", "stop 0", "buffering 1"};
    EXPECT_EQ(buffer + Journal{"standard"} + buffer + Journal{"lossless"}, bufferJournal());
}
