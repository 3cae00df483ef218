#pragma once

#include "BufferedRead.h"
#include "KeptInterruption.h"

#include <atomic>
#include <functional>

namespace kiv { namespace appli {

/// The input of a WMA codec, for its two callbacks. Decoding thread.
class WmaInput {
public:
    /// Sees what was read.
    using Watch = std::function<void(const unsigned char* data, unsigned int bytes)>;

    /// @param isOver  whether the run that reads is over; for where it is not the engine's
    WmaInput(Avr::Decoder::DecoderImple& engine, Avr::Decoder::BufferedRead& reader, Watch watch,
             std::function<bool()> isOver = nullptr);

    // The callbacks; their context is a WmaInput, or null.

    /// @return all the bytes that were asked for, or 0
    static int read(void* destination, unsigned short elementSize, unsigned short elementCount,
                    void* context);
    /// @param whence  as fseek has it; the end cannot be sought
    /// @return 0; 1 when it did not move
    static int seek(void* context, int offset, int whence);

    /// Before each call of the codec.
    void begin() { m_seeksSeen = m_seeks; }
    /// After it: throws what a callback had to keep.
    void rethrow() { m_interruption.rethrow(); }

    /// A seek waits for the codec's next call, so this one gets no more to read. Any thread.
    void overtake() { ++m_seeks; }

private:
    int readAll(void* destination, unsigned int bytes);
    int seekTo(long long offset, int whence);

    Avr::Decoder::DecoderImple& m_engine;
    Avr::Decoder::BufferedRead& m_reader;
    Watch const m_watch;
    Avr::Decoder::KeptInterruption m_interruption;
    std::atomic<unsigned int> m_seeks{0};
    unsigned int m_seeksSeen = 0; ///< before the call in progress
};

}} // namespace kiv::appli
