#pragma once

#include "DecoderImple.h"
#include "platform/BufferStream.h"

#include <atomic>

namespace kiv { namespace appli {

/// The input of a decoder whose codec library reads through callbacks: the player's stream behind a
/// read-ahead buffer of its own. Nothing thrown below it leaves it while the library's C frames are
/// on the stack: an interruption is kept, and rethrown after the library's call.
class LibraryStream {
public:
    using StreamPtr = Avr::Decoder::DecoderImple::StreamPtr;

    /// The fill that was reported last; each library has one for all its decoders.
    using LastFill = std::atomic<int>;
    static constexpr int NothingReported = -1;

    /// What a read does while nothing is there.
    enum class WhenDry {
        WaitAndReport, ///< waits in place and reports the fill; no lock of the decoder is held
        WaitQuietly,   ///< waits in place, without a callback
        GiveUp         ///< fails; isDry() tells, and the caller waits with waitForData
    };

    LibraryStream(Avr::Decoder::DecoderImple& engine, LastFill& lastFill)
        : m_engine(engine), m_lastFill(lastFill)
    {}

    /// Puts a buffer over the stream, and starts it for the stream types that the player has.
    /// Decoding thread.
    void open(StreamPtr const& stream);
    /// Drops the buffer. Decoding thread, when nobody reads.
    void close() { m_buffer.reset(); }

    // For the library's callbacks; none of them throws.

    /// Reads what is there, at least one byte. @return 0; -10101 at the end; any other negative
    /// value when the stream failed, nothing came in time, or the run is to end
    int read(void* buf, unsigned int len, unsigned int& got);
    /// In bytes; 0 when it is unknown.
    long long length() const;
    /// Whether the player's stream can be positioned by byte.
    bool canSeekByte() const;
    bool seekByte(long long offset);
    void closeStream();
    long long position() const { return m_buffer ? m_buffer->GetPosition() : -1; }

    /// For the callbacks of the next library call.
    void whenDry(WhenDry action)
    {
        m_whenDry = action;
        m_dry = false;
    }
    bool givesUp() const { return m_whenDry == WhenDry::GiveUp; }
    /// Whether a read of the last library call gave up.
    bool isDry() const { return m_dry; }

    /// Right after a library call on the decoding thread: an interruption that it met goes on.
    void rethrow();

    /// After a read that gave up: waits until data is there and reports the fill; no lock may be
    /// held. Decoding thread. @return false when that failed or took too long; true also when the
    /// player pauses
    bool waitForData();

private:
    enum class Wait { OutsideTheLibrary, Reporting, Quiet };

    int readOnce(void* buf, unsigned int len, unsigned int& got);
    bool waitInPlace();
    bool wait(Wait way);
    bool isPaused() const;
    void reportFill(int percent);

    Avr::Decoder::DecoderImple& m_engine;
    LastFill& m_lastFill;
    boost::shared_ptr<BufferStream> m_buffer;
    WhenDry m_whenDry = WhenDry::WaitAndReport;
    bool m_reports = false; ///< the stream's type is one whose fill is reported
    bool m_dry = false;
    bool m_interrupted = false;
};

}} // namespace kiv::appli
