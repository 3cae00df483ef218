#pragma once

#include "WmaInput.h"
#include "decoder/WaveFormat.h"
#include "platform/codecs/wmal.h"

#include <memory>

namespace kiv { namespace appli {

/// The codec of WMA Lossless, with all that it works in. Decoding thread, but for seek and reset.
class WmaLosslessCodec {
public:
    WmaLosslessCodec();
    ~WmaLosslessCodec();

    /// Reads the head of the stream. @return 0, or the codec's failure
    int open(WmaInput* input);
    /// Logs the format and puts it into the record.
    void describe(DecoderStreamInfo& streamInfo) const;
    /// Bytes of one sample of every channel, as getPcm writes them.
    unsigned int frameBytes() const;
    /// @param available  receives the samples per channel that getPcm can fetch
    /// @return the codec's result; see WMAL_decode
    int decode(unsigned int& available);
    /// @return samples per channel, at most `count`; negative on an error
    int getPcm(void* pcm, unsigned int count);
    /// @return the codec's result: negative, 5 beyond the end, else 0. Any thread
    int seek(unsigned int milliseconds);
    /// Any thread.
    void reset();

    /// The bands of decode's results.
    static bool isDecodingError(int result) { return result < 0 && result >= -128; }
    static bool isFatalError(int result) { return result <= ASF_ParserErrors; }

private:
    struct Areas;

    std::unique_ptr<Areas> const m_areas;
    WmaInput* m_input = nullptr;
    bool m_isOpen = false; ///< else the codec may know a state that was at the same place
};

}} // namespace kiv::appli
