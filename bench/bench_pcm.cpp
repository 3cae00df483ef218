// What the engine costs: CPU time of a whole WAVE or LPCM run to a null callback beside a plain
// read loop over the same file, the peak memory of such a run, and the byte swap beside memcpy.
// Every figure is a ratio of two measurements taken in turn in this process; the best of several
// rounds counts, since the machine may be busy with other things.
#include "TransEndian.h"
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoder.h"
#include "decoder/IDecoderCallback.h"
#include "sound/SoundDevice.h"
#include "stream/FileStream.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <mutex>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace kiv::appli;

namespace {

constexpr int Rounds = 7;

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto const seconds = [](timeval const& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double cpuOf(std::function<void()> const& work)
{
    double const before = cpuSeconds();
    work();
    return cpuSeconds() - before;
}

/// Takes the PCM and drops it; the sound device completes at once, as nothing is queued.
class NullPlayer final : public IDecoderCallback {
public:
    int OnSample(const void*, unsigned int bytes, TimeSpec*) override
    {
        delivered += bytes;
        return 0;
    }
    int OnEvent(int event, void*, unsigned int) override
    {
        if (event == EventStreamInfo) {
            // The device's run begins here; it has no sink and takes nothing.
            avr::host::SoundDevice::instance().putEofMark(false);
            decoder->Start();
        }
        std::lock_guard<std::mutex> lock(m_lock);
        ended = ended || event == EventEndOfStream;
        m_over = m_over || event == EventClosed;
        m_wake.notify_all();
        return 0;
    }
    void waitForTheEnd()
    {
        std::unique_lock<std::mutex> lock(m_lock);
        m_wake.wait(lock, [this] { return m_over; });
    }

    IDecoder* decoder = nullptr;
    unsigned long long delivered = 0;
    bool ended = false;

private:
    std::mutex m_lock;
    std::condition_variable m_wake;
    bool m_over = false;
};

void playThroughEngine(const char* format, std::string const& path)
{
    NullPlayer player;
    player.decoder = Avr::Decoder::LookupFromFormat(format);
    player.decoder->Open(boost::make_shared<avr::host::FileStream>(path), &player);
    player.waitForTheEnd();
    player.decoder->Close();
    if (!player.ended || player.delivered == 0) {
        std::fprintf(stderr, "bench: %s did not play\n", path.c_str());
        std::_Exit(1);
    }
}

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

/// Peak resident memory of a fresh process that does the work.
long peakKilobytes(std::function<void()> const& work)
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
    std::FILE* const out = fdopen(dup(STDOUT_FILENO), "w");
    std::setvbuf(out, nullptr, _IOLBF, 0);
    int const null = open("/dev/null", O_WRONLY); // the library's log
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);

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
