// The search for titles in a stream's bytes beside the plainest state machine, over the same blocks
// in turn; the best of several rounds counts.
#include "Measure.h"
#include "PdtParser.h"
#include "PlainScan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace avr::bench;

namespace {

constexpr std::size_t BlockBytes = 4096;
constexpr std::size_t Bytes = 1 << 18; ///< they stay in the cache, as what was just read
constexpr int Passes = 200;
constexpr int Rounds = 15;

using Blocks = std::vector<unsigned char>;

template <class Scan>
double secondsOf(Blocks const& blocks, Scan scan)
{
    return cpuOf([&] {
        for (int pass = 0; pass < Passes; ++pass)
            for (std::size_t at = 0; at < blocks.size(); at += BlockBytes)
                scan(&blocks[at]);
    });
}

void compare(const char* what, Blocks const& blocks)
{
    double search = 1e9, plainly = 1e9;
    pdt::parser parser;
    avr::test::PlainScan plain;
    for (int round = 0; round < Rounds; ++round) {
        plainly = std::min(plainly, secondsOf(blocks, [&](const unsigned char* block) {
                               keep(plain.rest(block, BlockBytes).data());
                           }));
        search = std::min(search, secondsOf(blocks, [&](const unsigned char* block) {
                              parser.append_data(block, BlockBytes);
                              keep(&parser);
                          }));
    }
    double const bytes = 1e-9 * double(blocks.size()) * Passes;
    std::printf("%-16s search %6.2f GB/s, state machine %6.2f GB/s: %.2fx\n", what, bytes / search,
                bytes / plainly, plainly / search);
}

} // namespace

int main()
{
    Blocks random(Bytes);
    for (auto& byte : random)
        byte = static_cast<unsigned char>(std::rand() >> 8);
    compare("random bytes", random);
    compare("T and nothing", Blocks(random.size(), 'T'));
    return 0;
}
