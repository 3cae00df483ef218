// What the engine costs: CPU time of a whole WAVE or LPCM run to a null callback beside a plain
// read loop over the same file, the peak memory of such a run, and the byte swap beside memcpy.
// Every figure is a ratio of two measurements taken in turn in this process; the best of several
// rounds counts, since the machine may be busy with other things.
#include "DecoderRun.h"
#include "Measure.h"
#include "TransEndian.h"

#include <algorithm>
#include <cstring>
#include <vector>

using namespace avr::bench;

namespace {

constexpr int Rounds = 7;

void readPlainly(std::string const& path, std::size_t step)
{
    std::vector<char> block(step);
    int const file = open(path.c_str(), O_RDONLY);
    while (read(file, block.data(), block.size()) > 0)
        ;
    close(file);
}

std::string makeFile(std::string const& directory, const char* name, bool wave, unsigned int bytes)
{
    std::string const path = directory + '/' + name;
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    auto const put = [file](unsigned int value, std::size_t width) {
        std::fwrite(&value, width, 1, file); // little-endian hosts, as the library's own
    };
    if (wave) {
        std::fwrite("RIFF", 4, 1, file);
        put(bytes + 36, 4);
        std::fwrite("WAVEfmt ", 8, 1, file);
        put(16, 4);
        put(1, 2);
        put(2, 2);
        put(44100, 4);
        put(176400, 4);
        put(4, 2);
        put(16, 2);
        std::fwrite("data", 4, 1, file);
        put(bytes, 4);
    }
    std::vector<char> noise(1 << 20);
    for (auto& byte : noise)
        byte = static_cast<char>(std::rand());
    for (unsigned int done = 0; done < bytes; done += 1 << 20)
        std::fwrite(noise.data(), noise.size(), 1, file);
    std::fclose(file);
    return path;
}

void compareEngine(std::FILE* out, const char* format, std::string const& path, std::size_t block)
{
    double engine = 1e9, inBlocks = 1e9, inLargeSteps = 1e9;
    for (int round = 0; round < Rounds; ++round) {
        inBlocks = std::min(inBlocks, cpuOf([&] { readPlainly(path, block); }));
        inLargeSteps = std::min(inLargeSteps, cpuOf([&] { readPlainly(path, 128 * 1024); }));
        engine = std::min(engine, cpuOf([&] { playThroughEngine(format, path); }));
    }
    std::fprintf(out, "%-5s engine %.1f ms CPU; plain read loop %.1f ms in blocks of %zu: %.2fx;",
                 format, engine * 1e3, inBlocks * 1e3, block, engine / inBlocks);
    std::fprintf(out, " %.1f ms in steps of 131072: %.2fx\n", inLargeSteps * 1e3,
                 engine / inLargeSteps);
}

void compareSwap(std::FILE* out)
{
    std::vector<short> from(4096, 0x1234), to(4096); // one block of LPCM
    auto const timeOf = [&](auto move) {
        double best = 1e9;
        for (int round = 0; round < Rounds; ++round) {
            best = std::min(best, cpuOf([&] {
                                for (int i = 0; i < 200000; ++i) {
                                    move();
                                    keep(to.data());
                                }
                            }));
        }
        return best;
    };
    double const copy =
        timeOf([&] { std::memcpy(to.data(), from.data(), from.size() * sizeof(short)); });
    double const swap =
        timeOf([&] { kiv::sound::transEndian(from.data(), to.data(), from.size()); });
    double const gigabytes = 200000.0 * 8192 / 1e9;
    std::fprintf(out, "swap  transEndian %.1f GB/s, memcpy %.1f GB/s: %.2fx of its time\n",
                 gigabytes / swap, gigabytes / copy, swap / copy);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::string(argv[1]) == "--help") {
        std::puts("usage: bench_pcm [DIRECTORY for two files of 256 MiB, default /tmp]");
        return 0;
    }
    std::string const directory = argc > 1 ? argv[1] : "/tmp";
    std::FILE* const out = quietOutput();

    std::string const wave = makeFile(directory, "bench.wav", true, 256u << 20);
    std::string const lpcm = makeFile(directory, "bench.lpcm", false, 256u << 20);
    auto const idle = [] { Avr::Decoder::InitDecoder(); };
    long const idlePeak = peakKilobytes(idle);
    long const wavePeak = peakKilobytes([&] { idle(), playThroughEngine("wav", wave); });
    long const lpcmPeak = peakKilobytes([&] { idle(), playThroughEngine("lpcm", lpcm); });
    Avr::Decoder::InitDecoder();
    compareEngine(out, "wav", wave, 4096);
    compareEngine(out, "lpcm", lpcm, 8192);
    std::fprintf(out, "peak  resident: wav %ld KiB, lpcm %ld KiB, without a run %ld KiB\n",
                 wavePeak, lpcmPeak, idlePeak);
    compareSwap(out);
    std::remove(wave.c_str());
    std::remove(lpcm.c_str());
    return 0;
}
