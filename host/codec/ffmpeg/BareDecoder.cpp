#include "CodecModule.h"
#include "decoder/Export.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
}

namespace avr { namespace host {

namespace {

constexpr std::size_t LargestInput = 1 << 24;

struct Free {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
};
template <class Thing>
using Owned = std::unique_ptr<Thing, Free>;

/// In Codec's order.
constexpr const char* Names[] = {"mp3float", "aac", "wmav1", "wmav2", "wmalossless"};

/// FFmpeg's decoder of one codec.
class BareDecoder final : public FrameDecoder {
public:
    bool open(Codec codec, CodecConfig const& config);

    int decode(const std::uint8_t* frame, std::size_t bytes) override;
    int decodeMore() override;
    int finish() override;
    void reset() override { avcodec_flush_buffers(m_context.get()); }
    unsigned int channels() const override
    {
        return static_cast<unsigned int>(m_frame->ch_layout.nb_channels);
    }
    unsigned int samplingRate() const override
    {
        return static_cast<unsigned int>(m_frame->sample_rate);
    }
    std::size_t taken() const override { return m_given - m_rest; }
    const float* const* planes() const override
    {
        return reinterpret_cast<const float* const*>(m_frame->extended_data);
    }
    const void* plane(unsigned int channel) const override
    {
        return m_frame->extended_data[channel];
    }

private:
    bool setExtra(std::vector<std::uint8_t> const& extra);
    void describe(CodecConfig const& config);
    void dropRest();
    static int getBuffer(AVCodecContext* context, AVFrame* frame, int flags);

    Owned<AVCodecContext> m_context;
    /// FFmpeg would copy what has no owner. The frames that it gets stay where they are until they
    /// are decoded, so they have a nominal one.
    Owned<AVBufferRef> m_owner{av_buffer_alloc(1)};
    Owned<AVPacket> m_packet{av_packet_alloc()};
    Owned<AVFrame> m_frame{av_frame_alloc()};
    Owned<AVFrame> m_next{av_frame_alloc()}; ///< stays empty
    std::size_t m_given = 0;
    std::size_t m_rest = 0;
    bool m_isWma = false;
    bool m_oneFrameDone = false;
    AVSampleFormat m_format = AV_SAMPLE_FMT_NONE;
};

bool BareDecoder::open(Codec codec, CodecConfig const& config)
{
    const AVCodec* const decoder = avcodec_find_decoder_by_name(Names[static_cast<int>(codec)]);
    m_context.reset(decoder ? avcodec_alloc_context3(decoder) : nullptr);
    if (!m_context || !m_owner || !m_packet || !m_frame || !m_next)
        return false;
    m_isWma = codec != Codec::Mp3 && codec != Codec::AacLc;
    m_context->opaque = this;
    m_context->get_buffer2 = getBuffer;
    m_context->thread_count = 1;
    if (m_isWma)
        describe(config);
    if (!setExtra(config.extra) || avcodec_open2(m_context.get(), decoder, nullptr) != 0)
        return false;
    m_format = m_context->sample_fmt;
    return !m_isWma || m_context->ch_layout.nb_channels == static_cast<int>(config.channels);
}

bool BareDecoder::setExtra(std::vector<std::uint8_t> const& extra)
{
    if (extra.empty())
        return true;
    m_context->extradata =
        static_cast<std::uint8_t*>(av_mallocz(extra.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!m_context->extradata)
        return false;
    std::copy(extra.begin(), extra.end(), m_context->extradata);
    m_context->extradata_size = static_cast<int>(extra.size());
    return true;
}

void BareDecoder::describe(CodecConfig const& config)
{
    m_context->sample_rate = static_cast<int>(config.samplingRate);
    m_context->bit_rate = config.bitRate;
    m_context->block_align = static_cast<int>(config.blockAlign);
    av_channel_layout_default(&m_context->ch_layout, static_cast<int>(config.channels));
}

int BareDecoder::decode(const std::uint8_t* frame, std::size_t bytes)
{
    if (bytes == 0 || bytes > LargestInput) // FFmpeg takes an empty packet for the end
        return AVERROR_INVALIDDATA;
    m_packet->data = const_cast<std::uint8_t*>(frame); // it is only read
    m_packet->size = static_cast<int>(bytes);
    m_given = bytes;
    m_rest = 0;
    m_packet->buf = m_owner.get();
    int const failure = avcodec_send_packet(m_context.get(), m_packet.get());
    m_packet->buf = nullptr;
    if (failure < 0)
        return failure;
    int const samples = decodeMore();
    if (samples > 0 && !m_isWma)
        dropRest();
    return samples;
}

int BareDecoder::decodeMore()
{
    int const result = avcodec_receive_frame(m_context.get(), m_frame.get());
    if (result < 0)
        return result == AVERROR(EAGAIN) || result == AVERROR_EOF ? 0 : result;
    return m_frame->format == m_format ? m_frame->nb_samples : AVERROR_INVALIDDATA;
}

int BareDecoder::finish()
{
    int const failure = avcodec_send_packet(m_context.get(), nullptr);
    return failure < 0 ? failure : decodeMore();
}

/// FFmpeg goes on with what is behind the first frame. It is stopped where it asks for the next
/// one's buffer: there it tells how much is left, and has changed nothing yet.
void BareDecoder::dropRest()
{
    m_oneFrameDone = true;
    avcodec_receive_frame(m_context.get(), m_next.get());
    m_oneFrameDone = false;
}

int BareDecoder::getBuffer(AVCodecContext* context, AVFrame* frame, int flags)
{
    auto& decoder = *static_cast<BareDecoder*>(context->opaque);
    if (!decoder.m_oneFrameDone)
        return avcodec_default_get_buffer2(context, frame, flags);
    decoder.m_rest = static_cast<std::size_t>(frame->pkt_size);
    return AVERROR_EXIT;
}

std::unique_ptr<FrameDecoder> makeDecoder(Codec codec, CodecConfig const& config)
{
    auto decoder = std::make_unique<BareDecoder>();
    if (!decoder->open(codec, config))
        return nullptr;
    return decoder;
}

static_assert(FrameDecoder::PaddingBytes >= AV_INPUT_BUFFER_PADDING_SIZE, "the decoders read it");

/// Nothing in a player's process may write but what it chose itself.
[[maybe_unused]] bool const quiet = (av_log_set_level(AV_LOG_QUIET), true);

} // namespace

extern "C" AVR_API const CodecModule avr_codec_module;
const CodecModule avr_codec_module = {makeDecoder};

}} // namespace avr::host
