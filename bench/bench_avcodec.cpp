// The same for libavcodec, in a program of its own because of the memory that it takes by being
// loaded. The loops hand the decoder whole frames and drop what it gives as it is.
#include "CodecRows.h"

#include <array>
#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

using namespace avr::bench;

namespace {

/// One file through one decoder.
class BareLoop {
public:
    BareLoop(std::string const& path, const char* codec, const AVCodecParameters* parameters)
        : m_file(std::fopen(path.c_str(), "rb"))
    {
        AVCodec const* const decoder = avcodec_find_decoder_by_name(codec);
        m_context = avcodec_alloc_context3(decoder);
        if (parameters != nullptr)
            avcodec_parameters_to_context(m_context, parameters);
        m_context->thread_count = 1;
        require(m_file != nullptr && avcodec_open2(m_context, decoder, nullptr) == 0);
    }
    BareLoop(BareLoop const&) = delete;
    ~BareLoop()
    {
        require(m_frames != 0);
        av_frame_free(&m_frame);
        av_packet_free(&m_packet);
        avcodec_free_context(&m_context);
        std::fclose(m_file);
    }

    std::uint8_t byte(std::size_t at) const { return m_bytes[at]; }
    void seek(std::int64_t position) { std::fseek(m_file, static_cast<long>(position), SEEK_SET); }
    bool read(std::size_t from, std::size_t to)
    {
        require(to <= Most);
        return std::fread(&m_bytes[from], 1, to - from, m_file) == to - from;
    }
    void decode(std::size_t bytes)
    {
        std::fill_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(bytes), Padding, std::uint8_t(0));
        m_packet->data = m_bytes.data();
        m_packet->size = static_cast<int>(bytes);
        decode(m_packet);
    }
    /// @param packet  null at the end
    void decode(AVPacket const* packet)
    {
        avcodec_send_packet(m_context, packet);
        for (; avcodec_receive_frame(m_context, m_frame) == 0; ++m_frames)
            keep(m_frame->data[0]);
    }

private:
    static void require(bool condition)
    {
        if (!condition)
            std::_Exit(1);
    }

    static constexpr std::size_t Most = 8192;
    static constexpr std::size_t Padding = AV_INPUT_BUFFER_PADDING_SIZE;

    std::FILE* m_file;
    AVCodecContext* m_context;
    AVPacket* m_packet = av_packet_alloc();
    AVFrame* m_frame = av_frame_alloc();
    long m_frames = 0;
    std::array<std::uint8_t, Most + Padding> m_bytes;
};

/// Of MPEG-1 at 44.1 kHz, one frame behind the other.
void loopOverMp3(std::string const& path)
{
    static const std::size_t BitRates[] = {0,   32,  40,  48,  56,  64,  80, 96,
                                           112, 128, 160, 192, 224, 256, 320};
    BareLoop loop(path, "mp3float", nullptr);
    while (loop.read(0, 4)) {
        std::size_t const bitRate = BitRates[loop.byte(2) >> 4] * 1000;
        std::size_t const bytes = 144 * bitRate / 44100 + (loop.byte(2) >> 1 & 1u);
        if (!loop.read(4, bytes))
            return;
        loop.decode(bytes);
    }
}

void loopOverAdts(std::string const& path)
{
    BareLoop loop(path, "aac", nullptr);
    while (loop.read(0, 7)) {
        std::size_t const bytes =
            (loop.byte(3) & 3u) << 11 | std::size_t(loop.byte(4)) << 3 | loop.byte(5) >> 5;
        if (!loop.read(7, bytes))
            return;
        loop.decode(bytes);
    }
}

/// libavformat tells only where the frames are: the reading costs no more than an ADTS file's.
void loopOverMp4(std::string const& path)
{
    AVFormatContext* container = nullptr;
    if (avformat_open_input(&container, path.c_str(), nullptr, nullptr) != 0)
        std::_Exit(1);
    AVStream* const track = container->streams[0];
    {
        BareLoop loop(path, "aac", track->codecpar);
        std::int64_t position = 0;
        for (int i = 0; AVIndexEntry const* frame = avformat_index_get_entry(track, i); ++i) {
            if (frame->pos != position)
                loop.seek(frame->pos);
            auto const bytes = static_cast<std::size_t>(frame->size);
            if (!loop.read(0, bytes))
                break;
            position = frame->pos + frame->size;
            loop.decode(bytes);
        }
    }
    avformat_close_input(&container);
}

void loopOverAsf(std::string const& path)
{
    AVFormatContext* container = nullptr;
    if (avformat_open_input(&container, path.c_str(), nullptr, nullptr) != 0)
        std::_Exit(1);
    AVCodecParameters const* const codec = container->streams[0]->codecpar;
    {
        BareLoop loop(path, avcodec_get_name(codec->codec_id), codec);
        AVPacket* block = av_packet_alloc();
        for (; av_read_frame(container, block) == 0; av_packet_unref(block))
            loop.decode(block);
        loop.decode(nullptr);
        av_packet_free(&block);
    }
    avformat_close_input(&container);
}

constexpr Row Rows[] = {
    {"mp3", "tune-cbr.mp3", loopOverMp3},     {"mp3", "tune-vbr.mp3", loopOverMp3},
    {"aac", "tune.aac", loopOverAdts},        {"aac", "tune.m4a", loopOverMp4},
    {"aac", "tune-22khz.aac", loopOverAdts},  {"wma", "tune.wma", loopOverAsf},
    {"wma", "tune-lossless.wma", loopOverAsf}};

} // namespace

int main(int argc, char** argv) { return compareRows(Rows, argc, argv); }
