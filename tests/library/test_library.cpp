// The two libraries as they are shipped, together.
#include "RecordingCallback.h"
#include "Samples.h"
#include "TestData.h"
#include "WmaSelector.h"
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoder.h"
#include "sound/Sinks.h"
#include "sound/SoundDevice.h"

#include <gtest/gtest.h>

#include <thread>

using namespace avr::test;
using namespace kiv::appli;
using namespace avr::host;
using Avr::Decoder::LookupFromFormat;
using Avr::Decoder::LookupFromMimeType;

namespace {

/// Takes a little at a time and has played it only long after.
class SlowSink final : public ISoundSink {
public:
    explicit SlowSink(std::atomic<std::size_t>& played) : m_played(played) {}

    bool open(PcmFormat const&, std::string&) override { return true; }
    long write(const std::uint8_t*, std::size_t bytes, std::string&) override
    {
        std::size_t const taken = std::min<std::size_t>(bytes, 6144);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        m_held += taken;
        return static_cast<long>(taken);
    }
    bool drained() override
    {
        std::size_t const now = std::min<std::size_t>(m_held, 6144);
        m_held -= now;
        m_played += now;
        return m_held == 0;
    }
    void discard() override { m_held = 0; }
    bool close(std::string&) override { return true; }

private:
    std::atomic<std::size_t>& m_played;
    std::size_t m_held = 0;
};

struct Track {
    const char* format;
    Bytes file;
    std::size_t pcmBytes; ///< that must be heard
    PcmFormat pcm;
};

struct Player final : IDecoderCallback {
    int OnSample(const void* block, unsigned int bytes, TimeSpec* duration) override
    {
        events.OnSample(block, bytes, duration);
        return device->put(block, bytes);
    }
    int OnEvent(int event, void* data, unsigned int size) override
    {
        std::string error;
        if (event == EventStreamInfo) {
            EXPECT_TRUE(device->beginRun(format, error)) << error;
            decoder->Start();
        }
        return events.OnEvent(event, data, size);
    }

    RecordingCallback events;
    SoundDevice* device = nullptr;
    IDecoder* decoder = nullptr;
    PcmFormat format;
};

std::vector<Track> tracks()
{
    WaveSpec wave;
    wave.frames = 10240;
    WaveSpec small;
    small.frames = 1100;
    return {{"lpcm", noise(40000), 40000, {44100, 2, 2}},
            {"wav", waveFile(wave), 40960, {44100, 2, 2}},
            {"wav-testmode", waveFile(small), 60 * 4400, {44100, 2, 2}},
            {"flac", testData("../../samples/tune.flac"), 655360, {44100, 2, 2}},
            {"ogg", testData("stereo.ogg"), 200000, {44100, 2, 2}},
            {"he-aac", testData("he-stereo.aac"), 720896, {44100, 2, 4}},
            {"wma", testData("wma2.wma"), 348160, {44100, 2, 2}},
            {"wma", testData("../../samples/tune-lossless.wma"), 327680, {44100, 2, 2}}};
}

} // namespace

TEST(Library, RegistersItsDecodersUnderThePlatformsTypes)
{
    EXPECT_EQ(nullptr, LookupFromFormat("wav"));
    Avr::Decoder::InitDecoder();
    IDecoder* const wave = LookupFromFormat("WAV");
    ASSERT_NE(nullptr, wave);
    EXPECT_EQ(wave, LookupFromMimeType("audio/x-wav"));
    EXPECT_EQ(LookupFromFormat("wav-testmode"), LookupFromMimeType("audio/wav-testmode"));
    EXPECT_EQ(LookupFromFormat("lpcm"), LookupFromMimeType("audio/L16"));
    EXPECT_EQ(LookupFromFormat("flac"), LookupFromMimeType("audio/x-flac"));
    EXPECT_EQ(LookupFromFormat("ogg"), LookupFromMimeType("application/ogg"));
    EXPECT_EQ(LookupFromFormat("he-aac"), LookupFromMimeType("audio/aacp"));
    EXPECT_EQ(LookupFromFormat("wma"), LookupFromMimeType("audio/x-ms-wma"));
    EXPECT_EQ(LookupFromFormat("aac"), LookupFromMimeType("audio/mp4"));
    EXPECT_EQ(LookupFromFormat("mp3"), LookupFromMimeType("audio/mpeg"));
    Avr::Decoder::InitDecoder();
    EXPECT_NE(wave, LookupFromFormat("wav"));
    std::string name;
    EXPECT_EQ(Ok, wave->GetProperty(DecoderPropTypeBase::CodecName, name)); // still there
}

TEST(Library, LookupsByNameAreRemembered)
{
    Avr::Decoder::InitDecoder();
    VWMADecoder selector;
    selector.SetDecoderHistory("wmastd");
    auto const lookUp = [&](const char* name) {
        for (int i = 0; i < 101; ++i) // so much is kept
            LookupFromFormat(name);
        return selector.AnalysisHistory();
    };
    EXPECT_EQ("wmastd", lookUp("wma"));
    EXPECT_EQ("wmastd", lookUp("no such format"));
    EXPECT_EQ("wmalsl", lookUp("mp3")) << "as many of either kind: none";
    selector.SetDecoderHistory("wmastd");
    EXPECT_EQ("wmalsl", lookUp("WMA"));
}

TEST(Library, EveryFrameIsHeardBeforeTheDeviceHasCompleted)
{
    Avr::Decoder::InitDecoder();
    SoundDevice& device = SoundDevice::instance();
    std::atomic<std::size_t> played{0};
    device.setSink(std::make_unique<SlowSink>(played));
    for (Track const& track : tracks()) {
        played = 0;
        IDecoder& decoder = *LookupFromFormat(track.format);
        Player player;
        player.device = &device;
        player.decoder = &decoder;
        player.format = track.pcm;
        ASSERT_EQ(Ok, decoder.Open(streamOf(track.file), &player));
        ASSERT_TRUE(player.events.waitFor(EventClosed)) << track.format;
        EXPECT_EQ(1, player.events.count(EventEndOfStream));
        device.putEofMark(true); // as every player does, whatever the decoder did
        while (!device.isPlaybackCompleted())
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_EQ(track.pcmBytes, played) << track.format;
        decoder.Close();
    }
    std::string error;
    EXPECT_TRUE(device.closeSink(error));
}

TEST(Library, ADeviceThatNeverCompletesHoldsNobody)
{
    Avr::Decoder::InitDecoder();
    NullFaults faults;
    faults.neverCompletes = true;
    SoundDevice& device = SoundDevice::instance();
    device.setSink(makeNullSink(Pace::AsFastAsPossible, &faults));
    for (bool late : {false, true}) {
        Player player;
        player.device = &device;
        player.decoder = LookupFromFormat("wav");
        player.format = {44100, 2, 2};
        WaveSpec spec;
        ASSERT_EQ(Ok, player.decoder->Open(streamOf(waveFile(spec)), &player));
        while (!device.getEofMark())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (late) { // but completes in the end
            faults.lateMilliseconds = 30;
            faults.neverCompletes = false;
            EXPECT_TRUE(player.events.waitFor(EventClosed));
        }
        player.decoder->Close();
        EXPECT_EQ(late ? 1 : 0, player.events.count(EventEndOfStream));
        EXPECT_EQ(1, player.events.count(EventClosed));
        device.stop();
    }
    std::string error;
    EXPECT_TRUE(device.closeSink(error));
}
