#include "DecodersUnderTest.h"

#include "LpcmDecoder.h"
#include "Samples.h"
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

} // namespace

std::vector<DecoderUnderTest> const& decodersUnderTest()
{
    static std::vector<DecoderUnderTest> const rows = {
        {"lpcm", make<Avr::Decoder::LpcmDecoder>, noise(60000), true, true, true, false},
        {"wav", make<WaveDecoder>, smallWave(30000), false, false, false, false},
        {"wavtestmode", make<WaveTestModeDecoder>, smallWave(3000), false, false, true, true},
    };
    return rows;
}

}} // namespace avr::test
