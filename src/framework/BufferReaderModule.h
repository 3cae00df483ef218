#pragma once

#include "BufferedRead.h"
#include "DecoderImple.h"

#include <boost/make_shared.hpp>

#include <cstdio>

namespace Avr { namespace Decoder {

/// The mixin through which a decoder reads its input: the player's stream behind a read-ahead
/// buffer. T is the decoder itself and derives from DecoderImple too. The decoding thread calls
/// everything here.
template <class T>
class BufferReaderModule {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;
    using BufferStream = kiv::appli::BufferStream;

    /// Puts a buffer of 256000 bytes over the stream and starts it.
    void SetBaseStream(StreamPtr const& stream)
    {
        installOver(stream, "SetBaseStream", [this] { m_reader.startBuffering(256000); });
    }
    /// The same, neither sized nor started: reads pass through until StartBuffering.
    void SetBaseStreamEx(StreamPtr const& stream)
    {
        installOver(stream, "SetBaseStreamEx", [] {});
    }
    /// Buffers `size` bytes, readable from half of them on. Nothing without a stream.
    void StartBuffering(int size)
    {
        if (!m_reader.stream())
            return;
        m_reader.startBuffering(static_cast<unsigned int>(size));
        std::fprintf(stderr, "[BufferReaderModule::%s] finished!!. size=%d\n", "StartBuffering",
                     size);
    }

    /// Reads exactly len bytes. @return len; 0 when that failed: a failed stream has then ended
    /// the playback, the end of the data has set the end mark
    int Read(void* buf, unsigned int len)
    {
        BufferedRead::Outcome const outcome = m_reader.fill(engine(), "Read", buf, len);
        if (outcome.result == kiv::appli::Ok)
            return static_cast<int>(len);
        if (outcome.result != BufferedRead::GaveUp)
            m_reader.interruptPlayback(engine(), outcome.result);
        return 0;
    }

    /// Reads len bytes, or what there is before the end or a failure; where there is nothing, that
    /// acts as in Read, and no data for too long counts as the end. @return bytes read
    unsigned int ReadChunk(void* buf, unsigned int len)
    {
        BufferedRead::Outcome const outcome = m_reader.fill(engine(), "Read", buf, len);
        if (outcome.bytes != 0)
            return outcome.bytes;
        if (outcome.result != BufferedRead::GaveUp)
            m_reader.interruptPlayback(engine(), outcome.result);
        else if (engine().IsDecoding())
            m_reader.putEofMark(engine());
        return 0;
    }

    /// Reads len bytes, or what there is before the end or a failure. @return bytes read
    int ReadTestMode(void* buf, unsigned int len)
    {
        return static_cast<int>(m_reader.fill(engine(), "ReadTestMode", buf, len).bytes);
    }

    /// The progress of a wait: event 8 in steps of 5 percent.
    void BufferCallback(int percent) { m_reader.bufferStatus(engine(), percent); }

protected:
    ~BufferReaderModule() = default;

    BufferedRead m_reader;

private:
    DecoderImple& engine() { return static_cast<T&>(*this); }

    template <class Then>
    void installOver(StreamPtr const& stream, const char* name, Then then)
    {
        std::fprintf(stderr, "[BufferReaderModule::%s] called!!\n", name);
        m_reader.install(boost::make_shared<BufferStream>(stream));
        then();
        std::fprintf(stderr, "[BufferReaderModule::%s] finished!!\n", name);
    }
};

}} // namespace Avr::Decoder
