#pragma once

// What the benchmarks measure with: CPU time and peak memory of this process or a fresh one.
#include <cstdlib>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace avr { namespace bench {

inline double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto const seconds = [](timeval const& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

inline double cpuOf(std::function<void()> const& work)
{
    double const before = cpuSeconds();
    work();
    return cpuSeconds() - before;
}

/// Peak resident memory of a fresh process that does the work.
inline long peakKilobytes(std::function<void()> const& work)
{
    pid_t const child = fork();
    if (child == 0) {
        work();
        std::_Exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    return usage.ru_maxrss;
}

/// Makes the compiler believe that the memory is used.
inline void keep(const void* memory) { __asm__ volatile("" : : "r"(memory) : "memory"); }

}} // namespace avr::bench
