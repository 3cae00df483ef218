#pragma once

#include "LibraryStream.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace kiv { namespace appli {

/// libFLAC over a LibraryStream: the stream's description, one frame of PCM at a time, seeks by
/// sample. After open, every call is made with the decoder lock held; the frame may be read without
/// it, by the decoding thread.
class FlacCodec {
public:
    /// What describes a stream.
    struct Description {
        std::uint32_t rate;     ///< Hz
        std::uint16_t channels; ///< of those that are played: one or two
        std::uint16_t bits;
    };
    /// The same as the properties have it, whose rate is cut to 16 bits (meant).
    struct alignas(4) Properties { // a word, so that it is atomic by itself
        std::uint16_t rate;
        std::uint8_t channels;
        std::uint8_t bits;
    };
    enum class Outcome {
        Frame, ///< frame() is the next one
        Dry,   ///< nothing is there yet: wait, without the lock, and decode again
        EndOfStream,
        Failed
    };
    /// Packed little-endian PCM.
    struct Frame {
        std::unique_ptr<std::uint8_t[]> pcm;
        unsigned int bytes = 0;
    };

    explicit FlacCodec(LibraryStream& input);
    ~FlacCodec();
    FlacCodec(FlacCodec const&) = delete;
    FlacCodec& operator=(FlacCodec const&) = delete;

    /// Reads what stands before the first frame. Decoding thread. @return false when this is no
    /// FLAC, or nothing describes it
    bool open();
    /// Decoding thread, when no seek is running.
    void close();
    /// Decoding thread.
    Outcome decode();
    Frame const& frame() const { return m_frame; }
    /// The frame with this sample, from it on, is what the next decode gives. A failed one leaves
    /// everything where it was. Any thread.
    bool seek(std::uint64_t sample);

    /// The stream's first description. Decoding thread.
    Description description() const { return m_description; }
    /// From the description that came last, kept after close. Any thread.
    Properties properties() const { return m_properties; }

private:
    struct Callbacks;
    struct Library; ///< libFLAC's handle

    Outcome outcome(bool processed);
    bool returnToFrame();
    bool restart(long long position);
    long long decodePosition();
    int read(void* buf, unsigned int len, unsigned int& got);
    bool seekByte(long long offset);
    bool write(const std::int32_t* const* channels, unsigned int channelCount, unsigned int bits,
               unsigned int frames);
    void describe(Description const& found);

    LibraryStream& m_input;
    std::unique_ptr<Library> m_library;
    Description m_description{};
    std::atomic<Properties> m_properties{Properties{0, 0, 0}};
    Frame m_frame;              ///< decoding thread
    Frame m_seekFrame;          ///< where a seek landed, until decode gives it
    Frame* m_target = nullptr;  ///< of the library call in progress
    long long m_frameStart = 0; ///< byte offset of the frame that is being decoded
    bool m_frameLeft = false;   ///< a read that gave up left it: it has to be read again
    bool m_isOpen = false;      ///< past the metadata
    bool m_isDescribed = false;
    bool m_endOfStream = false;
    bool m_error = false; ///< libFLAC met what is no FLAC
};

}} // namespace kiv::appli
