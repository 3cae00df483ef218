#include "DecoderRun.h"
#include "LogCapture.h"
#include "TestData.h"
#include "VHEAACDecoder.h"

#include <fdk-aac/aacdecoder_lib.h>

#include <cstring>

using namespace avr::test;
using namespace kiv::appli;

namespace {

std::atomic<bool> noMemory{false};
std::vector<int> const PlayedToTheEnd = {2, 4, 6, 1};
std::vector<int> const Failed = {2, 4, 0, 1};
std::vector<int> const Refused = {11, 1};

Bytes joined(Bytes first, Bytes const& second)
{
    append(first, second);
    return first;
}

/// What is to be heard: every good frame that FDK finds in the file but the first two, in 32 bits.
Bytes expectedPcm(Bytes file)
{
    Bytes pcm;
    HANDLE_AACDECODER const decoder = aacDecoder_Open(TT_MP4_ADTS, 1);
    CStreamInfo const& info = *aacDecoder_GetStreamInfo(decoder);
    UINT const size = static_cast<UINT>(file.size());
    UINT left = size;
    INT_PCM frame[16384];
    for (int error = 0, frames = 0; error != AAC_DEC_NOT_ENOUGH_BITS || left != 0;) {
        UCHAR* input = file.data();
        aacDecoder_Fill(decoder, &input, &size, &left);
        error = aacDecoder_DecodeFrame(decoder, frame, 16384, 0);
        if (error != AAC_DEC_OK || ++frames < 3)
            continue;
        for (int i = 0; i < info.frameSize * info.numChannels; ++i)
            append(pcm, static_cast<std::uint32_t>(frame[i] * 65536), 4);
    }
    aacDecoder_Close(decoder);
    return pcm;
}

class HeAac : public DecoderRun {
protected:
    IDecoder& underTest() override { return *decoder; }

    /// A run whose log has the line.
    void expectRun(Bytes data, std::vector<int> const& events, std::string const& line,
                   Script script = {})
    {
        LogCapture log;
        script.data = std::move(data);
        open(std::move(script));
        events == Refused ? void(callback.waitFor(1)) : play();
        EXPECT_EQ(events, callback.events()) << line;
        EXPECT_TRUE(log.has(line)) << line << log.text();
    }

    std::unique_ptr<IDecoder> decoder = std::make_unique<VHEAACDecoder>();
    Bytes const stereo = testData("he-stereo.aac");
    Bytes const mono = testData("lc-mono.aac"), surround = testData("lc-surround.aac");
};

} // namespace

void* operator new(std::size_t size, std::nothrow_t const&) noexcept
{
    return noMemory ? nullptr : ::operator new(size);
}

TEST_F(HeAac, HearsEveryFrameButTheFirstTwo)
{
    Script odd;
    odd.longestRead = 977;
    odd.retryBeforeEach = true;
    Bytes const wholeChunk(stereo.begin(), stereo.begin() + 8192);
    for (Bytes const& file : {stereo, testData("he-v2.aac"), joined(mono, stereo), wholeChunk}) {
        for (Script const& script : {Script(), odd}) {
            expectRun(file, PlayedToTheEnd, "0[playThread] ADTS/MP4 EOF reached = 0x1002\n",
                      script);
            EXPECT_EQ(expectedPcm(file), callback.pcm());
            EXPECT_EQ(1, FakeSoundDevice::instance().marksPut);
        }
    }
}

TEST_F(HeAac, TheRecordSaysStereoAndTheTimeIsHalvedAndNothingIsSoughtOrSet)
{
    std::string text;
    callback.onSample = [this, &text] {
        int const refusals = decoder->Seek(0L) + decoder->Seek(0.0) +
                             decoder->Seek(TimeSpec{0, 0}) + decoder->SetProperty(0, text);
        return refusals - 4 * ErrorFailed;
    };
    for (bool isMono : {false, true}) {
        expectRun(isMono ? mono : stereo, PlayedToTheEnd,
                  isMono ? "[GetHEAACFileParameters] numChannels = 1\n"
                         : "[openHook] file top data, ff f1 5c 80\n"
                           "[GetHEAACFileParameters] sampleRate  = 44100\n"
                           "[GetHEAACFileParameters] numChannels = 2\n"
                           "[GetHEAACFileParameters] samples     = 1024\n"
                           "[GetHEAACFileParameters] init_as_pcm finished\n");
        EXPECT_EQ(isMono ? 4096u : 16384u, callback.blocks().front());
        EXPECT_EQ(isMono ? 5804988u : 23219954u, callback.lastDuration().nanoseconds);
        DecoderStreamInfo const info = callback.info();
        DecoderStreamInfo const expected{{1, 2, 44100, 352800, 8, 32, 0, 32, 0}, 0x10000204, 0, 0};
        EXPECT_EQ(0, std::memcmp(&expected, &info, sizeof info));
    }
    decoder->GetProperty(DecoderPropTypeBase::CodecName, text);
    EXPECT_EQ("aac", text);
    decoder->GetProperty(DecoderPropTypeBase::BitRate, text);
    EXPECT_EQ("2822400", text);
}

TEST_F(HeAac, SaysWhyAStreamCannotBePlayed)
{
    LogCapture output(STDOUT_FILENO);
    Bytes const top(stereo.begin(), stereo.begin() + 8191);
    expectRun(Bytes(7), Refused, "[openHook] fread failed\n");
    expectRun(joined({'A', 'D', 'I', 'F'}, top), Refused, "[openHook] ADIF is not suppoprted\n");
    expectRun(joined({0, 0, 0, 32, 'f', 't', 'y', 'p'}, top), Refused,
              "[openHook] **** CURRENTLY **** MP4 container is not suppoprted, Do use LC-AAC "
              "regacy decoder !!!!\n");
    expectRun(top, Refused, "[GetHEAACFileParameters] Error in getting ADTS frame, 0\n");
    EXPECT_EQ("GetAACFileParameters() error\n", output.text());
    expectRun(noise(9000), Refused,
              "[GetHEAACFileParameters] Decode 1st or 2nd frame error = 4098\n");
    expectRun(surround, Refused, "[GetHEAACFileParameters] unsupported setting 44100 / 6\n");
}

TEST_F(HeAac, DamageAndForeignFramesAreNotHeard)
{
    Bytes damaged = stereo;
    damaged[6000] ^= 0x55;
    expectRun(damaged, PlayedToTheEnd, "[playThread] Concealed frame\n");
    EXPECT_EQ(expectedPcm(damaged), callback.pcm());
    EXPECT_EQ(expectedPcm(stereo).size(), callback.pcm().size() + 16384);
    Bytes outOfSync(stereo.begin(), stereo.begin() + 9000);
    append(outOfSync, joined(noise(300), Bytes(stereo.begin() + 9000, stereo.end())));
    expectRun(outOfSync, PlayedToTheEnd, "Try finding sync again");
    EXPECT_EQ(expectedPcm(outOfSync), callback.pcm());
    EXPECT_GT(callback.pcm().size(), expectedPcm(stereo).size() / 2);
    damaged[4069] ^= 1;
    expectRun(damaged, Failed, "[playThread] Unexpected error 0x5\n");
    expectRun(joined(stereo, surround), Failed, "[playThread] unsupported setting 44100 / 6\n");
    EXPECT_EQ(expectedPcm(stereo), callback.pcm());
}

TEST_F(HeAac, FailuresOfPlayerStreamAndMemoryEndTheRun)
{
    Script failing;
    failing.longestRead = 4096;
    failing.fault = Script::Fault::Error;
    failing.faultAtRead = 3; // the first chunk and a half are there
    expectRun(stereo, Failed, "[playThread] ADTS read empty.. 4096", failing);
    EXPECT_EQ(expectedPcm(Bytes(stereo.begin(), stereo.begin() + 12288)), callback.pcm());
    callback.onSample = [] { return 1; };
    expectRun(stereo, Failed, "[playThread] Write PCM error\n");
    EXPECT_EQ(1u, callback.blocks().size());
    LogCapture log;
    noMemory = true;
    decoder = std::make_unique<VHEAACDecoder>();
    noMemory = false;
    EXPECT_TRUE(log.has("[VHEAACDecoder] allocation VHEAAC_wrapParam failed\n"));
    expectRun(stereo, Refused, "[openHook] decoder resource doesn't exist");
    EXPECT_EQ(ErrorFailed, decoder->Seek(TimeSpec{0, 0}));
}
