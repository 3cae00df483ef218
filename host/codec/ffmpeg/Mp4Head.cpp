#include "AacConfig.h"
#include "Mp4Module.h"
#include "decoder/Export.h"

#include <algorithm>
#include <memory>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

namespace avr { namespace host {

namespace {

/// A head in memory, as a file of FFmpeg's.
class MemoryFile {
public:
    explicit MemoryFile(std::vector<std::uint8_t> const& bytes) : m_bytes(bytes)
    {
        auto* const buffer = static_cast<unsigned char*>(av_malloc(BufferBytes));
        m_file = buffer ? avio_alloc_context(buffer, BufferBytes, 0, this, read, nullptr, seek)
                        : nullptr;
        if (!m_file)
            av_free(buffer);
    }
    ~MemoryFile()
    {
        if (m_file)
            av_freep(&m_file->buffer);
        avio_context_free(&m_file);
    }
    MemoryFile(MemoryFile const&) = delete;
    MemoryFile& operator=(MemoryFile const&) = delete;

    AVIOContext* get() const { return m_file; }

private:
    static int read(void* self, std::uint8_t* to, int bytes)
    {
        auto& file = *static_cast<MemoryFile*>(self);
        std::size_t const got =
            std::min(static_cast<std::size_t>(bytes), file.m_bytes.size() - file.m_position);
        std::copy_n(file.m_bytes.data() + file.m_position, got, to);
        file.m_position += got;
        return got != 0 ? static_cast<int>(got) : AVERROR_EOF;
    }
    static std::int64_t seek(void* self, std::int64_t offset, int origin)
    {
        auto& file = *static_cast<MemoryFile*>(self);
        auto const size = static_cast<std::int64_t>(file.m_bytes.size());
        if (origin == AVSEEK_SIZE)
            return size;
        if (origin != SEEK_SET || offset < 0 || offset > size)
            return AVERROR(EINVAL);
        file.m_position = static_cast<std::size_t>(offset);
        return offset;
    }

    static constexpr int BufferBytes = 4096;
    std::vector<std::uint8_t> const& m_bytes;
    std::size_t m_position = 0;
    AVIOContext* m_file = nullptr;
};

struct Close {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using Demultiplexer = std::unique_ptr<AVFormatContext, Close>;

/// Edit lists stay aside: every sample counts.
Demultiplexer open(MemoryFile const& file)
{
    AVFormatContext* context = file.get() ? avformat_alloc_context() : nullptr;
    if (!context)
        return nullptr;
    context->pb = file.get();
    AVDictionary* options = nullptr;
    av_dict_set(&options, "ignore_editlist", "1", 0);
    av_dict_set(&options, "advanced_editlist", "0", 0);
    int const failure = // frees the context
        avformat_open_input(&context, nullptr, av_find_input_format("mov"), &options);
    av_dict_free(&options);
    return Demultiplexer(failure == 0 ? context : nullptr);
}

AacFormat formatOf(AVCodecParameters const& codec)
{
    if (codec.codec_type != AVMEDIA_TYPE_AUDIO || codec.codec_id != AV_CODEC_ID_AAC ||
        codec.extradata_size <= 0)
        return {};
    return coreFormat({codec.extradata, codec.extradata + codec.extradata_size});
}

unsigned int channelsOf(AacFormat const& format, AVCodecParameters const& codec)
{
    if (format.channels == 0) // a program config element has them
        return static_cast<unsigned int>(std::max(codec.ch_layout.nb_channels, 0));
    return format.channels == 7 ? 8 : format.channels;
}

bool describe(AVStream* stream, Mp4Track& track)
{
    AVCodecParameters const& codec = *stream->codecpar;
    AacFormat const format = formatOf(codec);
    if (format.objectType != AacObjectLc)
        return false;
    int const samples = avformat_index_get_entries_count(stream);
    track.samples.reserve(static_cast<std::size_t>(std::max(samples, 0)));
    for (int i = 0; i < samples; ++i) {
        AVIndexEntry const& entry = *avformat_index_get_entry(stream, i);
        track.samples.push_back({static_cast<std::uint64_t>(entry.pos),
                                 static_cast<std::uint32_t>(std::max(int{entry.size}, 0))});
    }
    track.duration = static_cast<std::uint64_t>(std::max<std::int64_t>(stream->duration, 0));
    track.timescale = static_cast<std::uint32_t>(stream->time_base.den);
    track.bitRate =
        static_cast<std::uint32_t>(std::clamp<std::int64_t>(codec.bit_rate, 0, UINT32_MAX));
    track.samplingRate = aacRate(format.rateIndex);
    track.channels = channelsOf(format, codec);
    return !track.samples.empty();
}

bool readHead(std::vector<std::uint8_t> const& head, Mp4Track& track)
{
    MemoryFile const file(head);
    Demultiplexer const demultiplexer = open(file);
    for (unsigned int i = 0; demultiplexer && i < demultiplexer->nb_streams; ++i)
        if (describe(demultiplexer->streams[i], track))
            return true;
    return false;
}

/// Nothing in a player's process may write but what it chose itself.
[[maybe_unused]] bool const quiet = (av_log_set_level(AV_LOG_QUIET), true);

} // namespace

extern "C" AVR_API const Mp4Module avr_mp4_module;
const Mp4Module avr_mp4_module = {readHead};

}} // namespace avr::host
