#include "DecodersUnderTest.h"

#include "AsfFile.h"
#include "DecoderHistory.h"
#include "FlacDecoder.h"
#include "FlacFile.h"
#include "LpcmDecoder.h"
#include "OggVorbisDecoder.h"
#include "Samples.h"
#include "TestData.h"
#include "VAACDecoder.h"
#include "VHEAACDecoder.h"
#include "VMP3Decoder.h"
#include "VWmaDecoder.h"
#include "WaveDecoder.h"
#include "WaveTestModeDecoder.h"
#include "WmaSelector.h"

namespace avr { namespace test {

using namespace kiv::appli;

namespace {

template <class Decoder>
std::unique_ptr<IDecoder> make()
{
    return std::make_unique<Decoder>();
}

Bytes smallWave(std::uint32_t frames)
{
    WaveSpec spec;
    spec.channels = 1;
    spec.frames = frames;
    return waveFile(spec);
}

/// Ends with an ID3v1 tag, as some do.
Bytes taggedFlac()
{
    Bytes file = flacFile(FlacSpec());
    append(file, "TAG");
    file.resize(file.size() + 125, ' ');
    return file;
}

Bytes smallLossless() { return losslessFile(noise(120000), 2, 16, 44100).bytes(); }

Bytes wideLossless() { return losslessFile(noise(45000), 1, 24, 44100).bytes(); }

void triesStandardFirst() { DecoderHistory::instance().add(DecoderHistory::Standard); }
void triesLosslessFirst() { DecoderHistory::instance().add(DecoderHistory::Lossless); }

/// Of the decoders behind a selector.
std::set<Trait> const InnerTraits = {Trait::TakesFaultsAsEnd, Trait::FadesOut,
                                     Trait::IgnoresRefusals,  Trait::IgnoresPauses,
                                     Trait::TellsNoState,     Trait::TriesTwice};

} // namespace

std::vector<DecoderUnderTest> const& decodersUnderTest()
{
    static std::vector<DecoderUnderTest> const rows = {
        {"lpcm",
         make<Avr::Decoder::LpcmDecoder>,
         noise(60000),
         {Trait::TakesAnything, Trait::PlaysWithoutCallback, Trait::TakesFaultsAsEnd}},
        {"wav", make<WaveDecoder>, smallWave(30000), {}},
        {"wavtestmode",
         make<WaveTestModeDecoder>,
         smallWave(3000),
         {Trait::TakesFaultsAsEnd, Trait::Repeats}},
        {"flac", make<FlacDecoder>, taggedFlac(), {}},
        {"ogg",
         make<OggVorbisDecoder>,
         testData("stereo.ogg"),
         {Trait::TakesFaultsAsEnd, Trait::DescribesOnlyRuns}},
        {"heaac", make<VHEAACDecoder>, testData("he-stereo.aac"), {}},
        {"mp3", make<VMP3Decoder>, testData("cbr.mp3"), {Trait::EndsWhenRefused}},
        {"aac", make<VAACDecoder>, testData("lc-mono.aac"), {}},
        {"m4a", make<VAACDecoder>, testData("lc-mono.m4a"), {Trait::ReadsNoFurther}},
        {"wma",
         make<VWmaDecoder>,
         testData("wma2.wma"),
         {Trait::PlaysWithoutCallback, Trait::FadesOut, Trait::IgnoresRefusals,
          Trait::ReadsNoFurther, Trait::TellsNoState}},
        {"wmalossless",
         make<VWmaDecoder>,
         smallLossless(),
         {Trait::ReadsNoFurther, Trait::TellsNoState}},
        {"wmastd", make<VWMADecoder>, testData("wma2.wma"), InnerTraits, triesStandardFirst},
        {"wmalsl", make<VWMADecoder>, wideLossless(), InnerTraits, triesLosslessFirst},
    };
    return rows;
}

}} // namespace avr::test
