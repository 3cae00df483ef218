// Encodes 16-bit WAVE files as AAC or HE-AAC in an ADTS or ADIF stream, with FDK AAC. Built and run
// by make-samples.
#include <fdk-aac/aacenc_lib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Pcm {
    UINT rate = 0;
    UINT channels = 0;
    std::vector<INT_PCM> samples; ///< interleaved
};

UINT number(std::string const& bytes, std::size_t at, std::size_t size)
{
    UINT value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value |= static_cast<UINT>(static_cast<std::uint8_t>(bytes.at(at + i))) << (8 * i);
    return value;
}

/// The audio may end before its chunk does.
Pcm readWave(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    Pcm pcm;
    for (std::size_t at = 12; at + 8 <= bytes.size();) {
        std::string const name = bytes.substr(at, 4);
        std::size_t const size = number(bytes, at + 4, 4);
        at += 8;
        if (name == "fmt ") {
            pcm.channels = number(bytes, at + 2, 2);
            pcm.rate = number(bytes, at + 4, 4);
            if (number(bytes, at + 14, 2) != 16)
                throw std::runtime_error("not 16 bits: " + path);
        } else if (name == "data" && pcm.channels != 0) {
            std::size_t const end = std::min(bytes.size() - at, size) + at;
            for (; at + 2 <= end; at += 2)
                pcm.samples.push_back(static_cast<INT_PCM>(number(bytes, at, 2)));
            return pcm;
        }
        at += size + size % 2;
    }
    throw std::runtime_error("no WAVE file: " + path);
}

/// The same with another number of channels: the first ones, or all of them again and again.
Pcm withChannels(Pcm const& pcm, UINT channels)
{
    Pcm result{pcm.rate, channels, {}};
    for (std::size_t frame = 0; frame + pcm.channels <= pcm.samples.size(); frame += pcm.channels) {
        for (UINT channel = 0; channel < channels; ++channel)
            result.samples.push_back(pcm.samples[frame + channel % pcm.channels]);
    }
    return result;
}

void check(AACENC_ERROR error, const char* what)
{
    if (error != AACENC_OK)
        throw std::runtime_error(std::string(what) + " failed: " + std::to_string(error));
}

using Encoder = std::unique_ptr<AACENCODER, void (*)(HANDLE_AACENCODER)>;

/// As the file's name says.
TRANSPORT_TYPE transportOf(std::string const& path)
{
    const std::string ending = ".adif";
    const bool isAdif = path.size() >= ending.size() &&
                        path.compare(path.size() - ending.size(), ending.size(), ending) == 0;
    return isAdif ? TT_MP4_ADIF : TT_MP4_ADTS;
}

Encoder openEncoder(Pcm const& pcm, UINT bitRate, UINT objectType, TRANSPORT_TYPE transport)
{
    HANDLE_AACENCODER handle = nullptr;
    check(aacEncOpen(&handle, 0, pcm.channels), "open");
    Encoder encoder(handle, [](HANDLE_AACENCODER opened) { aacEncClose(&opened); });
    const std::pair<AACENC_PARAM, UINT> settings[] = {
        {AACENC_AOT, objectType},
        {AACENC_SAMPLERATE, pcm.rate},
        {AACENC_CHANNELMODE, pcm.channels == 6 ? UINT(MODE_1_2_2_1) : pcm.channels},
        {AACENC_BITRATE, bitRate},
        {AACENC_TRANSMUX, static_cast<UINT>(transport)}};
    for (auto const& setting : settings)
        check(aacEncoder_SetParam(handle, setting.first, setting.second), "setting");
    check(aacEncEncode(handle, nullptr, nullptr, nullptr, nullptr), "settings");
    return encoder;
}

std::string encode(HANDLE_AACENCODER encoder, Pcm pcm)
{
    std::string stream;
    std::vector<char> room(8192);
    for (std::size_t done = 0;;) {
        void* from = pcm.samples.data() + done;
        void* to = room.data();
        INT inKind = IN_AUDIO_DATA, outKind = OUT_BITSTREAM_DATA;
        INT inSize = static_cast<INT>((pcm.samples.size() - done) * sizeof(INT_PCM));
        INT outSize = static_cast<INT>(room.size());
        INT inElement = sizeof(INT_PCM), outElement = 1;
        const AACENC_BufDesc in{1, &from, &inKind, &inSize, &inElement};
        const AACENC_BufDesc out{1, &to, &outKind, &outSize, &outElement};
        AACENC_InArgs offered{};
        offered.numInSamples = inSize == 0 ? -1 : inSize / inElement; // -1 = the end
        AACENC_OutArgs given{};
        const AACENC_ERROR error = aacEncEncode(encoder, &in, &out, &offered, &given);
        if (error == AACENC_ENCODE_EOF)
            return stream;
        check(error, "encode");
        done += static_cast<std::size_t>(given.numInSamples);
        stream.append(room.data(), static_cast<std::size_t>(given.numOutBytes));
    }
}

} // namespace

int main(int argc, char** argv)
try {
    if (argc != 5 && argc != 6) {
        std::cerr << "usage: encode-he-aac INPUT.wav OUTPUT BITRATE 2|5|29 [CHANNELS]\n"
                     "2 = LC, 5 = HE, 29 = HE v2; ADTS, or ADIF when OUTPUT ends in .adif\n";
        return 2;
    }
    Pcm pcm = readWave(argv[1]);
    if (argc == 6)
        pcm = withChannels(pcm, static_cast<UINT>(std::stoul(argv[5])));
    const auto bitRate = static_cast<UINT>(std::stoul(argv[3]));
    const auto objectType = static_cast<UINT>(std::stoul(argv[4]));
    const Encoder encoder = openEncoder(pcm, bitRate, objectType, transportOf(argv[2]));
    const std::string stream = encode(encoder.get(), pcm);
    std::ofstream file(argv[2], std::ios::binary);
    if (!file.write(stream.data(), static_cast<std::streamsize>(stream.size())).flush())
        throw std::runtime_error(std::string("cannot write ") + argv[2]);
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
