#pragma once

namespace Avr { namespace Decoder {

class DecoderImple;

/// Marks, for as long as it lives, where in a decoder's run the current thread is: it is the
/// decoding thread, or it is inside one of the player's callbacks. Places nest: a callback of one
/// decoder may drive another one.
class ThreadPlace {
public:
    enum class Kind { DecodingThread, Callback };

    ThreadPlace(DecoderImple const& decoder, Kind kind);
    ~ThreadPlace();
    ThreadPlace(ThreadPlace const&) = delete;
    ThreadPlace& operator=(ThreadPlace const&) = delete;

    /// Whether the calling thread is at such a place of this decoder.
    static bool isAt(DecoderImple const& decoder, Kind kind);

private:
    DecoderImple const& m_decoder;
    Kind const m_kind;
    ThreadPlace const* const m_outer;
};

}} // namespace Avr::Decoder
