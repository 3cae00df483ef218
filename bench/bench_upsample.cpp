// What the up-converters cost beside their rule taken output by output: CPU time over blocks of
// 2048 samples of noise. Measured in turn in this process, the best of several rounds counts.
#include "Measure.h"
#include "Upsample.h"
#include "UpsampleReference.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <vector>

using namespace avr::bench;
using namespace avr::test;

namespace {

constexpr int Rounds = 15;
constexpr int BlocksPerRound = 4000;
constexpr int BlockSamples = 2048;

void compare(std::FILE* out, UpsampleRule const& rule)
{
    std::mt19937 random(1);
    std::vector<int> from(BlockSamples);
    std::generate(from.begin(), from.end(), [&] { return static_cast<int>(random()); });
    std::vector<int> to(static_cast<std::size_t>(rule.room(BlockSamples)));
    UpsampleHistory history;
    avr::upsample upsampler;
    upsampler.select_converter(rule.rate, rule.channels);

    auto const timeOf = [&](auto convert) {
        return cpuOf([&] {
            for (int i = 0; i < BlocksPerRound; ++i) {
                convert();
                keep(to.data());
            }
        });
    };
    double fast = 1e9, plain = 1e9;
    for (int round = 0; round < Rounds; ++round) {
        fast =
            std::min(fast, timeOf([&] {
                         (upsampler.*upsampler.m_converter)(from.data(), BlockSamples, to.data());
                     }));
        plain = std::min(
            plain, timeOf([&] { rule.convert(history, from.data(), BlockSamples, to.data()); }));
    }
    double const megasamples = rule.rate / 10.0 * BlockSamples * BlocksPerRound / 1e6;
    std::fprintf(out, "x%-4g %-6s %6.0f %6.0f  %4.1fx\n", rule.rate / 10.0,
                 rule.channels == 1 ? "mono" : "stereo", megasamples / fast, megasamples / plain,
                 plain / fast);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--help") == 0) {
        std::puts("usage: bench_upsample");
        return 0;
    }
    std::FILE* const out = fdopen(dup(STDOUT_FILENO), "w");
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO); // the library's log
    std::fputs("ratio          output in Msamples/s\n", out);
    std::fputs("             ours   rule  ratio\n", out);
    for (int channels : {2, 1})
        for (UpsampleRule const& rule : UpsampleRules)
            if (rule.channels == channels)
                compare(out, rule);
    return 0;
}
