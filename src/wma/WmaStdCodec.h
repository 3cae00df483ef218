#pragma once

#include "WmaInput.h"
#include "decoder/WaveFormat.h"
#include "platform/codecs/wma.h"

#include <memory>

namespace kiv { namespace appli {

/// The codec of standard WMA, with all that it works in. Decoding thread, but for seek and reset.
class WmaStdCodec {
public:
    WmaStdCodec();
    ~WmaStdCodec();

    /// Reads the head of the stream. @return 0, or the codec's failure
    int open(WmaInput* input);
    /// Logs the format and puts it into the record.
    void describe(DecoderStreamInfo& streamInfo) const;
    unsigned int channels() const;
    /// @return the codec's result: negative, 5 at the end, else samples per channel are there
    int decode(short& samples, void* pcm);
    /// @return the codec's result: negative, 5 beyond the end, else 0. Any thread
    int seek(unsigned int milliseconds);
    /// Any thread.
    void reset();

private:
    struct Areas;

    std::unique_ptr<Areas> const m_areas;
    WmaInput* m_input = nullptr;
    bool m_isOpen = false; ///< else the codec may know a state that was at the same place
};

}} // namespace kiv::appli
