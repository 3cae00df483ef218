#include "platform/codecs/vmp3.h"

#include "CodecModule.h"
#include "HandleTable.h"
#include "Mp3Reader.h"
#include "PcmWords.h"

namespace avr { namespace host { namespace {

constexpr std::uint32_t GranuleFrames = 576;
static_assert(GranuleFrames % pcm::Lanes == 0, "granules are converted whole");
static_assert(GranuleFrames * 2 * sizeof(std::int32_t) <= VMP3_PcmBytes, "one granule fits");
static_assert(Mp3Reader::Padding >= FrameDecoder::PaddingBytes, "the decoder wants it");

/// All that there is in the caller's data object.
struct DataObject {
    void const* key;
};

/// fetchFrame's and decode's results.
enum Result { Done = 0, Skipped = 1, Failed = -1 };

std::unique_ptr<FrameDecoder> makeMp3Decoder()
{
    CodecModule const* const module = codecModule();
    return module ? module->makeDecoder(Codec::Mp3, {}) : nullptr;
}

/// One stream: its reader, its decoder, and what of the last frame is still to be handed out.
class Mp3Engine {
public:
    explicit Mp3Engine(VMP3_InputDescriptor const& input)
        : m_reader([read = input.read, context = input.context](std::uint8_t* to, std::size_t n) {
              return read(to, 1, static_cast<unsigned int>(n), context) == n;
          })
    {}

    Result fetch();
    Result decode(std::int32_t* pcm, int& samples);
    bool needsFetch() const { return !m_fetched && m_done == m_samples; }
    VMP3_StreamInfo info() const;

private:
    Result decodeFrame();

    Mp3Reader m_reader;
    std::unique_ptr<FrameDecoder> const m_decoder = makeMp3Decoder();
    bool m_fetched = false; ///< a frame waits to be decoded
    std::uint32_t m_samples = 0;
    std::uint32_t m_done = 0;
    Mp3Header m_first = {}; ///< what the caller takes the whole stream for
};

Result Mp3Engine::fetch()
{
    m_samples = m_done = 0;
    m_fetched = false;
    if (!m_decoder)
        return Failed;
    Mp3Reader::Result const result = m_reader.fetch();
    m_fetched = result == Mp3Reader::Result::Frame;
    return m_fetched ? Done : result == Mp3Reader::Result::Skipped ? Skipped : Failed;
}

Result Mp3Engine::decode(std::int32_t* pcm, int& samples)
{
    if (!m_decoder || (m_fetched && decodeFrame() != Done))
        return Failed;
    if (m_done == m_samples)
        return Done;
    const float* const* const planes = m_decoder->planes();
    const float* const left = planes[0] + m_done;
    const float* const right = planes[m_decoder->channels() - 1] + m_done;
    auto const write = m_first.channels == 1 ? pcm::writeMono : pcm::writeStereo;
    write(left, right, GranuleFrames, pcm);
    samples = static_cast<int>(GranuleFrames);
    m_done += GranuleFrames;
    return Done;
}

Result Mp3Engine::decodeFrame()
{
    Mp3Header const& header = m_reader.header();
    m_fetched = false;
    if (m_reader.resumed()) // what came before belongs elsewhere
        m_decoder->reset();
    int const samples = m_decoder->decode(m_reader.frame(), header.bytes);
    if (samples != static_cast<int>(header.samples) || m_decoder->channels() != header.channels)
        return Failed;
    m_samples = header.samples;
    if (m_first.channels == 0)
        m_first = header;
    return Done;
}

VMP3_StreamInfo Mp3Engine::info() const
{
    std::uint32_t const average = m_reader.averageBitRate();
    return {m_first.samplingRate, static_cast<std::uint16_t>(m_first.channels),
            average != 0 ? average : m_first.bitRate};
}

std::shared_ptr<Mp3Engine> engineOf(void* dataObject)
{
    return HandleTable<Mp3Engine>::instance().get(static_cast<DataObject*>(dataObject)->key);
}

}}} // namespace avr::host

using namespace avr::host;

unsigned int VMP3_getDataObjSize() { return sizeof(DataObject); }

int VMP3_init(void*, VMP3_InputDescriptor* descriptor, void* dataObject)
{
    // Keyed by what outlives the data object, so that a stream takes the place of the one before.
    void const* const key = descriptor->context;
    static_cast<DataObject*>(dataObject)->key = key;
    HandleTable<Mp3Engine>::instance().put(key, std::make_shared<Mp3Engine>(*descriptor));
    return Done;
}

int VMP3_fetchFrame(void* dataObject)
{
    auto const engine = engineOf(dataObject);
    return engine ? engine->fetch() : Failed;
}

int VMP3_decode(void*, void*, void* pcm, int* samples, int* needFetch, void* dataObject)
{
    *samples = 0;
    *needFetch = 1;
    auto const engine = engineOf(dataObject);
    if (!engine)
        return Failed;
    Result const result = engine->decode(static_cast<std::int32_t*>(pcm), *samples);
    *needFetch = engine->needsFetch();
    return result;
}

void VMP3_getInfo(VMP3_StreamInfo* info, void* dataObject)
{
    auto const engine = engineOf(dataObject);
    *info = engine ? engine->info() : VMP3_StreamInfo{};
}
