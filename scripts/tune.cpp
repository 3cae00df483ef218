// Synthesises the short tune of samples/ and writes it in the uncompressed formats. Built and run
// by make-samples; the same program writes the same bytes every time.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

struct Frame {
    double left;
    double right;
};
using Pcm = std::vector<Frame>;

struct Note {
    double start; ///< in eighths
    int key;      ///< 69 = 440 Hz
};

constexpr double kEighth = 0.22; // seconds
constexpr double kPi = 3.14159265358979323846;
constexpr std::size_t kBlock =
    1024; // a decoder's block: whole ones are delivered to the last frame

const std::vector<Note> kMelody = {{0, 76},  {1, 79},  {2, 83},  {3, 81}, {4, 79},
                                   {6, 74},  {7, 76},  {8, 79},  {9, 81}, {10, 76},
                                   {11, 74}, {12, 69}, {13, 71}, {14, 67}};
const std::vector<Note> kBass = {{0, 48},  {2, 55},  {4, 52},  {6, 59},  {8, 45}, {10, 52},
                                 {12, 50}, {13, 57}, {14, 43}, {14, 50}, {14, 59}};

/// A plucked string: harmonics that fade the faster the higher they are.
double pluck(double frequency, double seconds)
{
    double value = 0;
    for (int n = 1; n <= 6; ++n)
        value += std::sin(2 * kPi * frequency * n * seconds) *
                 std::exp(-seconds * (2.0 + 1.5 * n)) / (n * std::sqrt(n));
    return value * std::min(1.0, seconds / 0.004);
}

/// @param pan  0 = left, 1 = right
void play(Pcm& pcm, unsigned int rate, std::vector<Note> const& voice, double loudness, double pan)
{
    for (Note const& note : voice) {
        const double frequency = 440 * std::pow(2.0, (note.key - 69) / 12.0);
        const auto first = static_cast<std::size_t>(note.start * kEighth * rate);
        for (std::size_t i = first; i < pcm.size(); ++i) {
            const double value = loudness * pluck(frequency, static_cast<double>(i - first) / rate);
            pcm[i].left += value * (1 - pan);
            pcm[i].right += value * pan;
        }
    }
}

/// Each side answers the other a little later.
void echo(Pcm& pcm, unsigned int rate)
{
    const auto delay = static_cast<std::size_t>(0.75 * kEighth * rate);
    for (std::size_t i = delay; i < pcm.size(); ++i) {
        pcm[i].left += 0.3 * pcm[i - delay].right;
        pcm[i].right += 0.3 * pcm[i - delay].left;
    }
}

/// To a peak of 0.8, and to silence at the end.
void finish(Pcm& pcm, unsigned int rate)
{
    double peak = 0;
    for (Frame const& frame : pcm)
        peak = std::max({peak, std::fabs(frame.left), std::fabs(frame.right)});
    for (std::size_t i = 0; i < pcm.size(); ++i) {
        const double rest = static_cast<double>(pcm.size() - i) / rate;
        const double gain = 0.8 / peak * std::min(1.0, rest / 0.1);
        pcm[i].left *= gain;
        pcm[i].right *= gain;
    }
}

Pcm tune(unsigned int rate, std::size_t blocks)
{
    Pcm pcm(blocks * kBlock, Frame{0, 0});
    play(pcm, rate, kMelody, 1.0, 0.65);
    play(pcm, rate, kBass, 0.9, 0.3);
    echo(pcm, rate);
    finish(pcm, rate);
    return pcm;
}

void append(std::string& bytes, std::uint32_t value, int count)
{
    for (int i = 0; i < count; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 0xff);
}

/// One sample as WAVE has it: little-endian, 8 bits without sign.
void appendSample(std::string& bytes, double value, int bits)
{
    const long scaled = std::lround(value * static_cast<double>((1L << (bits - 1)) - 1));
    append(bytes, static_cast<std::uint32_t>(bits == 8 ? scaled + 128 : scaled), bits / 8);
}

std::string samplesOf(Pcm const& pcm, int bits, unsigned int channels)
{
    std::string bytes;
    for (Frame const& frame : pcm) {
        if (channels == 1)
            appendSample(bytes, (frame.left + frame.right) / 2, bits);
        else {
            appendSample(bytes, frame.left, bits);
            appendSample(bytes, frame.right, bits);
        }
    }
    return bytes;
}

void store(std::string const& path, std::string const& bytes)
{
    std::ofstream file(path, std::ios::binary);
    if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush()) {
        std::cerr << "cannot write " << path << '\n';
        std::exit(1);
    }
}

void storeWave(std::string const& path, std::string const& samples, unsigned int rate, int bits,
               unsigned int channels)
{
    const auto align = channels * static_cast<unsigned int>(bits) / 8;
    const auto size = static_cast<std::uint32_t>(samples.size());
    std::string head = "RIFF";
    append(head, size + 36, 4);
    head += "WAVEfmt ";
    append(head, 16, 4);
    append(head, 1, 2);
    append(head, channels, 2);
    append(head, rate, 4);
    append(head, rate * align, 4);
    append(head, align, 2);
    append(head, static_cast<std::uint32_t>(bits), 2);
    head += "data";
    append(head, size, 4);
    store(path, head + samples);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: tune FOLDER\n";
        return 2;
    }
    const std::string tuneAt = std::string(argv[1]) + "/tune";
    std::string cd = samplesOf(tune(44100, 160), 16, 2);
    storeWave(tuneAt + ".wav", cd, 44100, 16, 2);
    storeWave(tuneAt + "-8bit-mono.wav", samplesOf(tune(22050, 80), 8, 1), 22050, 8, 1);
    storeWave(tuneAt + "-24bit.wav", samplesOf(tune(48000, 80), 24, 2), 48000, 24, 2);
    for (std::size_t i = 0; i < cd.size(); i += 2)
        std::swap(cd[i], cd[i + 1]);
    store(tuneAt + ".lpcm", cd);
}
