#include "LogCapture.h"
#include "Upsample.h"
#include "UpsampleReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

using avr::upsample;
using namespace avr::test;

namespace {

using Block = std::vector<int>;

/// Full-scale noise with the extremes and small numbers among it.
class Noise {
public:
    explicit Noise(unsigned seed) : m_random(seed) {}

    int below(int end) { return static_cast<int>(m_random() % static_cast<unsigned>(end)); }
    int sample()
    {
        switch (below(8)) {
        case 0:
            return std::numeric_limits<int>::min();
        case 1:
            return std::numeric_limits<int>::max();
        case 2:
            return below(32) - 16;
        default:
            return static_cast<int>(m_random());
        }
    }
    Block block(int size)
    {
        Block samples(static_cast<std::size_t>(size));
        std::generate(samples.begin(), samples.end(), [this] { return sample(); });
        return samples;
    }

private:
    std::mt19937 m_random;
};

std::string printed(upsample& upsampler, int rate, int channels)
{
    LogCapture log(STDOUT_FILENO);
    upsampler.select_converter(rate, channels);
    return log.text();
}

Block convert(upsample& upsampler, upsample::Converter converter, Block in)
{
    Block out(3 * in.size() + 2);
    int const written = (upsampler.*converter)(in.data(), static_cast<int>(in.size()), out.data());
    out.resize(static_cast<std::size_t>(written));
    return out;
}

} // namespace

class UpsampleRatio : public testing::TestWithParam<UpsampleRule> {};

TEST_P(UpsampleRatio, FollowsTheRuleFromBlockToBlock)
{
    UpsampleRule const& rule = GetParam();
    UpsampleHistory history;
    upsample upsampler;
    printed(upsampler, rule.rate, rule.channels);
    ASSERT_NE(nullptr, upsampler.m_converter);
    Noise noise(static_cast<unsigned>(rule.rate + rule.channels));
    for (int blocks = 0; blocks < 600; ++blocks) {
        int const count = noise.below(blocks % 10 == 0 ? 2000 : 70);
        Block in = noise.block(rule.samplesRead(count));
        Block out = noise.block(rule.room(count));
        Block expected = out;
        int const samples = rule.convert(history, in.data(), count, expected.data());
        ASSERT_EQ(samples, (upsampler.*upsampler.m_converter)(in.data(), count, out.data()));
        if (rule.rate == 15) { // what remains in the scratch is nobody's business
            expected.resize(static_cast<std::size_t>(samples));
            out.resize(static_cast<std::size_t>(samples));
        }
        ASSERT_EQ(expected, out) << "block " << blocks << " of " << count;
    }
}

INSTANTIATE_TEST_SUITE_P(All, UpsampleRatio, testing::ValuesIn(UpsampleRules),
                         [](auto const& tested) {
                             return std::to_string(tested.param.rate) + "_" +
                                    std::to_string(tested.param.channels);
                         });

TEST(Upsample, SelectsWhatTheTableHasAndSaysSo)
{
    upsample upsampler;
    EXPECT_EQ(nullptr, upsampler.m_converter);
    int row = 0;
    for (UpsampleRule const& rule : UpsampleRules) {
        char lines[100];
        std::snprintf(
            lines, sizeof lines,
            "select_converter(), rate = %d, channel = %d\nfound, [%d] rate = %d, ch = %d\n",
            rule.rate, rule.channels, row++, rule.rate, rule.channels);
        EXPECT_EQ(lines, printed(upsampler, rule.rate, rule.channels));
    }
    EXPECT_EQ(&upsample::do_convert_12_2, upsampler.m_converter);
    EXPECT_EQ("select_converter(), rate = 25, channel = 2\n", printed(upsampler, 25, 2));
    EXPECT_EQ(nullptr, upsampler.m_converter);
    EXPECT_EQ("select_converter(), rate = 20, channel = 6\n", printed(upsampler, 20, 6));
    EXPECT_EQ("select_converter(), rate = -1, channel = -1\n", printed(upsampler, -1, -1));
}

TEST(Upsample, RampsFromTheFrameBefore)
{
    upsample upsampler;
    EXPECT_EQ((Block{50, 100, 150, 200}),
              convert(upsampler, &upsample::do_convert_2_1, {100, 200}));
    EXPECT_EQ(Block{}, convert(upsampler, &upsample::do_convert_2_1, {}));
    EXPECT_EQ((Block{75, 200, -50, 400}),
              convert(upsampler, &upsample::do_convert_2_2, {-50, 400}));
    upsampler.reset();
    EXPECT_EQ((Block{-2, 3, -4, 6, -7, 9}), convert(upsampler, &upsample::do_convert_3_2, {-7, 9}));
}

TEST(Upsample, OnlyAConverterThatIsFoundForgetsTheDecimation)
{
    upsample upsampler;
    auto const carriedOver = [&](auto forget) {
        EXPECT_EQ((Block{100, 300, 500}),
                  convert(upsampler, &upsample::do_convert_15_1, {300, 600}));
        forget();
        return convert(upsampler, &upsample::do_convert_15_1, {0, 0}).front();
    };
    EXPECT_EQ(150, carriedOver([&] { upsampler.reset(); }));
    EXPECT_EQ(150, carriedOver([&] { printed(upsampler, 25, 2); }));
    EXPECT_EQ(0, carriedOver([&] { printed(upsampler, 15, 1); }));
}
