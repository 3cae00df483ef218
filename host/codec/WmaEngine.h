#pragma once

#include "CodecModule.h"
#include "HandleTable.h"
#include "platform/codecs/wma.h"

#include <atomic>

namespace avr { namespace host {

/// Where a WMA codec gets its input: the functions in its caller's record.
struct WmaInput {
    __wma_parser_params_common common;
    WMA_ParseFunction parseAsfHeader;
    WMA_InputFunction fileGetInput;
    WMA_PositionFunction asfSeek;
    void* scratch;
};

/// @param params  of either codec
template <class Params>
WmaInput inputOf(Params const& params)
{
    return {{params.context, params.read, params.seek},
            params.parseAsfHeader,
            params.fileGetInput,
            params.asfSeek,
            params.parserScratch};
}

/// What stands behind a state of either WMA codec. It decodes block after block, and keeps the
/// samples of the last one until they are fetched.
class WmaEngine {
public:
    explicit WmaEngine(WmaInput const& input) : m_input(input) {}

    /// Reads the file's header. @return the reader's result
    int open();
    __wma_parser_stream_params const& stream() const { return m_stream; }
    /// @return false when the stream can not be decoded
    bool begin(Codec codec);

    /// Makes samples, unless there are some.
    /// @return 0 when there are, or input was consumed; ASF_NoMoreData; negative when input was
    ///         damaged
    int decode();
    /// Drops what is not fetched.
    void drop() { m_samples = m_fetched = 0; }

    /// Per channel: how many samples there are, and where.
    unsigned int samples() const { return m_samples - m_fetched; }
    template <class Sample>
    const Sample* plane(unsigned int channel) const
    {
        return static_cast<const Sample*>(m_decoder->plane(channel)) + m_fetched;
    }
    void fetched(unsigned int samples) { m_fetched += samples; }

    /// Wishes, which the next decode fulfils. Any thread; neither waits.
    void reset() { m_resetWanted = true; }
    int seek(unsigned int milliseconds, unsigned int* reached);

    static constexpr int Failed = -1;

private:
    void fulfilWishes();
    int decodeBlock();
    int decodeGathered();

    static constexpr std::uint32_t NoTarget = UINT32_MAX;

    WmaInput m_input;
    __wma_parser_stream_params m_stream{};
    std::vector<std::uint8_t> m_extra; ///< of the stream
    std::unique_ptr<FrameDecoder> m_decoder;
    std::vector<std::uint8_t> m_block; ///< of several pieces, as far as it is read
    bool m_mayHaveMore = false;        ///< of the last block
    bool m_ended = false;
    unsigned int m_samples = 0; ///< in the decoder's planes
    unsigned int m_fetched = 0;
    std::atomic<bool> m_resetWanted{false};
    std::atomic<std::uint32_t> m_target{NoTarget}; ///< ms
};

// What the functions of both codecs do alike.

using WmaEngines = HandleTable<WmaEngine>; ///< by state

/// @param begin     begins to decode the engine's stream; false when that cannot be
/// @param describe  makes the info of the stream's parameters
/// @return 0, or why there is no engine
template <class Params, class Describe>
int beginWma(void* state, Params& params, bool (*begin)(WmaEngine&), Describe describe)
{
    WmaEngines::instance().erase(state);
    auto const engine = std::make_shared<WmaEngine>(inputOf(params));
    int const result = engine->open();
    if (result != 0)
        return result;
    if (!begin(*engine))
        return WmaEngine::Failed;
    *params.info = describe(engine->stream());
    WmaEngines::instance().put(state, engine);
    return 0;
}
int seekWma(void* state, unsigned int milliseconds, unsigned int* reached);
int resetWma(void* state);

}} // namespace avr::host
