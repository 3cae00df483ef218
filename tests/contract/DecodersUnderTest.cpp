#include "DecodersUnderTest.h"

#include "FlacDecoder.h"
#include "FlacFile.h"
#include "LpcmDecoder.h"
#include "OggVorbisDecoder.h"
#include "Samples.h"
#include "TestData.h"
#include "VHEAACDecoder.h"
#include "WaveDecoder.h"
#include "WaveTestModeDecoder.h"

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

} // namespace

std::vector<DecoderUnderTest> const& decodersUnderTest()
{
    static std::vector<DecoderUnderTest> const rows = {
        {"lpcm", make<Avr::Decoder::LpcmDecoder>, noise(60000), true, true, true, false, false},
        {"wav", make<WaveDecoder>, smallWave(30000), false, false, false, false, false},
        {"wavtestmode", make<WaveTestModeDecoder>, smallWave(3000), false, false, true, true,
         false},
        {"flac", make<FlacDecoder>, taggedFlac(), false, false, false, false, false},
        {"ogg", make<OggVorbisDecoder>, testData("stereo.ogg"), false, false, true, false, true},
        {"heaac", make<VHEAACDecoder>, testData("he-stereo.aac"), false, false, false, false,
         false},
    };
    return rows;
}

}} // namespace avr::test
