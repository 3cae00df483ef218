// encode-wma-lossless IN.wav OUT.wma BYTES: so much of the PCM of a WAVE file (44-byte header,
// 44.1 kHz, 16 bits, stereo) as WMA Lossless. Its blocks hold the samples as they are: nothing is
// compressed.
#include "AsfFile.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

using namespace avr::test;

namespace {

constexpr int HeaderBytes = 44;
constexpr int FramesPerBlock = 2048;
constexpr int PacketHeadBytes = 40; ///< at most, around one block

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::cerr << "encode-wma-lossless: " << what << '\n';
    std::exit(1);
}

void describe(AVCodecParameters& codec, AsfFile const& file)
{
    codec.codec_type = AVMEDIA_TYPE_AUDIO;
    codec.codec_id = AV_CODEC_ID_WMALOSSLESS;
    codec.codec_tag = file.tag;
    codec.bits_per_coded_sample = file.bits;
    codec.block_align = file.blockAlign;
    codec.sample_rate = int(file.rate);
    codec.bit_rate = std::int64_t(file.bytesPerSecond) * 8;
    av_channel_layout_default(&codec.ch_layout, file.channels);
    codec.extradata_size = int(file.extra.size());
    codec.extradata =
        static_cast<std::uint8_t*>(av_mallocz(file.extra.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::memcpy(codec.extradata, file.extra.data(), file.extra.size());
}

void mux(AsfFile const& file, const char* path)
{
    AVFormatContext* out = nullptr;
    require(avformat_alloc_output_context2(&out, nullptr, "asf", path) >= 0, "no memory");
    out->flags |= AVFMT_FLAG_BITEXACT;
    describe(*avformat_new_stream(out, nullptr)->codecpar, file);
    require(avio_open(&out->pb, path, AVIO_FLAG_WRITE) >= 0, "the file cannot be written");
    AVDictionary* options = nullptr;
    av_dict_set_int(&options, "packet_size", file.blockAlign + PacketHeadBytes, 0);
    require(avformat_write_header(out, &options) >= 0, "the header cannot be written");
    av_dict_free(&options);
    AVPacket* packet = av_packet_alloc();
    std::int64_t frame = 0;
    for (Bytes const& block : file.blocks) {
        require(av_new_packet(packet, int(block.size())) >= 0, "no memory");
        std::memcpy(packet->data, block.data(), block.size());
        packet->flags = AV_PKT_FLAG_KEY;
        packet->pts = packet->dts = frame * 1000 / file.rate;
        packet->duration = FramesPerBlock * 1000 / file.rate;
        frame += FramesPerBlock;
        require(av_write_frame(out, packet) >= 0, "a block cannot be written");
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    require(av_write_trailer(out) >= 0, "the end cannot be written");
    avio_closep(&out->pb);
    avformat_free_context(out);
}

} // namespace

int main(int argc, char** argv)
{
    require(argc == 4, "usage: encode-wma-lossless IN.wav OUT.wma BYTES");
    std::ifstream in(argv[1], std::ios::binary);
    Bytes pcm(std::istreambuf_iterator<char>(in), {});
    std::size_t const bytes = std::strtoul(argv[3], nullptr, 10);
    require(pcm.size() >= HeaderBytes + bytes, "there is not so much");
    pcm = Bytes(pcm.begin() + HeaderBytes, pcm.begin() + HeaderBytes + long(bytes));
    mux(losslessFile(pcm, 2, 16, 44100), argv[2]);
}
