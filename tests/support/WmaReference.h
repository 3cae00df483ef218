#pragma once

#include "AsfFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace avr { namespace test {

/// What FFmpeg finds in a file, and what it makes of it.
struct WmaReference {
    explicit WmaReference(std::string const& path);
    void decode(AVCodecContext* context, const AVPacket* packet);

    AsfFile asf; ///< the blocks and what is told of them
    Bytes pcm;
};

inline WmaReference::WmaReference(std::string const& path)
{
    AVFormatContext* file = nullptr;
    EXPECT_EQ(0, avformat_open_input(&file, path.c_str(), nullptr, nullptr));
    AVCodecParameters const& codec = *file->streams[0]->codecpar;
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(codec.codec_id));
    avcodec_parameters_to_context(context, &codec);
    EXPECT_EQ(0, avcodec_open2(context, nullptr, nullptr));
    asf.tag = std::uint16_t(codec.codec_tag);
    asf.channels = std::uint16_t(codec.ch_layout.nb_channels);
    asf.blockAlign = std::uint16_t(codec.block_align);
    asf.rate = std::uint32_t(codec.sample_rate);
    asf.bytesPerSecond = std::uint32_t(codec.bit_rate / 8);
    asf.extra.assign(codec.extradata, codec.extradata + codec.extradata_size);
    AVPacket* packet = av_packet_alloc();
    for (; av_read_frame(file, packet) == 0; av_packet_unref(packet)) {
        asf.blocks.emplace_back(packet->data, packet->data + packet->size);
        decode(context, packet);
    }
    decode(context, nullptr);
    asf.duration = std::uint32_t(pcm.size() / 2 / asf.channels * 1000 / asf.rate);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    avformat_close_input(&file);
}

inline void WmaReference::decode(AVCodecContext* context, const AVPacket* packet)
{
    AVFrame* frame = av_frame_alloc();
    EXPECT_EQ(0, avcodec_send_packet(context, packet));
    while (avcodec_receive_frame(context, frame) == 0)
        for (int i = 0; i < frame->nb_samples; ++i)
            for (int c = 0; c < frame->ch_layout.nb_channels; ++c) {
                float const x = reinterpret_cast<float*>(frame->data[c])[i] * 32768;
                append(pcm, std::uint32_t(std::lrintf(std::clamp(x, -32768.0f, 32767.0f))), 2);
            }
    av_frame_free(&frame);
}

}} // namespace avr::test
