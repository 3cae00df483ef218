#pragma once

// What the library costs beside a codec library: CPU time of a whole run to a null callback beside
// a minimal loop over the same codec library, and the peak memory of both. Measured in turn in one
// process, the best of several rounds counts. bench/make-inputs makes the files.
#include "DecoderRun.h"
#include "Measure.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace avr { namespace bench {

struct Row {
    const char* format;
    const char* file;
    void (*loop)(std::string const& path);
};

struct Peaks {
    long run;
    long loop;
};

inline Peaks peaksOf(Row const& row, std::string const& path)
{
    return {
        peakKilobytes([&] { Avr::Decoder::InitDecoder(), playThroughEngine(row.format, path); }),
        peakKilobytes([&] { row.loop(path); })};
}

inline void compare(std::FILE* out, Row const& row, std::string const& path, Peaks const& peaks)
{
    constexpr int Rounds = 9;
    double runTime = 1e9, loopTime = 1e9;
    for (int round = 0; round < Rounds; ++round) {
        loopTime = std::min(loopTime, cpuOf([&] { row.loop(path); }));
        runTime = std::min(runTime, cpuOf([&] { playThroughEngine(row.format, path); }));
    }
    std::fprintf(out, "%-16s run %7.1f ms CPU, loop %7.1f ms: %.3fx; peak %ld KiB, loop %ld KiB\n",
                 row.file, runTime * 1e3, loopTime * 1e3, runTime / loopTime, peaks.run,
                 peaks.loop);
}

/// The benchmark's main.
template <std::size_t Count>
int compareRows(Row const (&rows)[Count], int argc, char** argv)
{
    if (argc != 2 || argv[1][0] == '-') {
        std::printf("usage: %s DIRECTORY, with what bench/make-inputs made there\n", argv[0]);
        return 2;
    }
    std::FILE* const out = quietOutput();
    std::string const directory = std::string(argv[1]) + '/';
    // Before anything plays here: a fork has one thread and this process's memory.
    Peaks peaks[Count];
    for (std::size_t i = 0; i < Count; ++i)
        peaks[i] = peaksOf(rows[i], directory + rows[i].file);
    Avr::Decoder::InitDecoder();
    for (std::size_t i = 0; i < Count; ++i)
        compare(out, rows[i], directory + rows[i].file, peaks[i]);
    return 0;
}

}} // namespace avr::bench
