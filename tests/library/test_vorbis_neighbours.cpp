// The library has Tremor in it. A process that uses libvorbisfile too has 46 names twice.
#include "RecordingCallback.h"
#include "Samples.h"
#include "TestData.h"
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoder.h"

#include <boost/crc.hpp>
#include <gtest/gtest.h>
#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <cmath>

using namespace avr::test;
using namespace kiv::appli;

namespace {

std::string const Tune = "../../samples/tune.ogg";
constexpr std::size_t Samples = 163840 * 2;

/// The process's own decoder.
class Neighbour {
public:
    Neighbour() { EXPECT_EQ(0, ov_fopen((AVR_TEST_DATA "/" + Tune).c_str(), &m_file)); }
    ~Neighbour() { ov_clear(&m_file); }
    Neighbour(Neighbour const&) = delete;
    Neighbour& operator=(Neighbour const&) = delete;

    /// Interleaved; fewer at the end.
    std::vector<float> read(std::size_t samples)
    {
        std::vector<float> all;
        while (all.size() < samples) {
            float** channels = nullptr;
            int link = 0;
            long const frames = ov_read_float(&m_file, &channels,
                                              static_cast<int>((samples - all.size()) / 2), &link);
            for (long frame = 0; frame < frames; ++frame)
                all.insert(all.end(), {channels[0][frame], channels[1][frame]});
            if (frames <= 0)
                break;
        }
        return all;
    }

private:
    OggVorbis_File m_file{};
};

/// In steps of 16 bits.
double largestDifference(Bytes const& pcm, std::vector<float> const& exact)
{
    double largest = 0;
    for (std::size_t i = 0; i < exact.size() && 2 * i + 1 < pcm.size(); ++i) {
        auto const ours = static_cast<std::int16_t>(pcm[2 * i] | pcm[2 * i + 1] << 8);
        double const theirs = std::clamp(exact[i] * 32768.0, -32768.0, 32767.0);
        largest = std::max(largest, std::fabs(ours - theirs));
    }
    return largest;
}

} // namespace

TEST(VorbisNeighbours, BothDecodeSideBySide)
{
    std::vector<float> const before = Neighbour().read(Samples + 2);
    ASSERT_EQ(Samples, before.size());
    Avr::Decoder::InitDecoder();
    IDecoder& decoder = *Avr::Decoder::LookupFromFormat("ogg");
    {
        Neighbour neighbour;
        std::vector<float> meanwhile;
        RecordingCallback callback;
        callback.onEvent = [&](int event) { event == EventStreamInfo ? decoder.Start() : 0; };
        callback.onSample = [&] {
            std::vector<float> const block = neighbour.read(callback.blocks().back() / 2);
            meanwhile.insert(meanwhile.end(), block.begin(), block.end());
            return 0;
        };
        ASSERT_EQ(Ok, decoder.Open(streamOf(testData(Tune)), &callback));
        ASSERT_TRUE(callback.waitFor(EventClosed));
        decoder.Close();
        EXPECT_EQ(1, callback.count(EventEndOfStream));
        EXPECT_EQ(before, meanwhile);
        Bytes const pcm = callback.pcm();
        EXPECT_EQ(2 * Samples, pcm.size());
        EXPECT_LT(largestDifference(pcm, before), 2);
        boost::crc_32_type crc;
        crc.process_bytes(pcm.data(), pcm.size());
        EXPECT_EQ(0x51ADDAD7, crc.checksum()); // as without the neighbour
    }
    EXPECT_EQ(before, Neighbour().read(Samples + 2));
}
