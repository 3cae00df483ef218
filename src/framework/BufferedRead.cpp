#include "BufferedRead.h"

#include "Deadlines.h"
#include "DecoderImple.h"

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <cstdio>

namespace Avr { namespace Decoder {

using namespace kiv::appli;
using DecoderLock = boost::lock_guard<boost::recursive_mutex>;

namespace {

constexpr int WaitsPerRead = 5;
constexpr int ToleratedTimeouts = 2; ///< without any change of the fill
constexpr Deadlines::Milliseconds WaitSlice(50);
constexpr int Overtaken = -1; ///< no stream waits with this result

/// A stream that throws has failed.
int readOnce(BufferStream& stream, void* buf, unsigned int len, unsigned int& got)
{
    try {
        return stream.Read(buf, len, &got);
    } catch (boost::thread_interrupted&) {
        throw;
    } catch (...) {
        return ErrorFailed;
    }
}

} // namespace

BufferedRead::BufferStreamPtr BufferedRead::stream() const { return boost::atomic_load(&m_stream); }

void BufferedRead::install(BufferStreamPtr const& stream)
{
    m_lastStatus = 0;
    boost::atomic_store(&m_stream, stream);
}

void BufferedRead::startBuffering(unsigned int size)
{
    BufferStreamPtr const stream = this->stream();
    if (!stream)
        return;
    stream->SetMaxBufferSize(size);
    stream->SetStartThreashold(size / 2);
    stream->SetStopThreashold(0);
    stream->StartBuffering();
}

BufferedRead::Outcome BufferedRead::fill(DecoderImple& engine, const char* name, void* buf,
                                         unsigned int len)
{
    BufferStreamPtr const stream = this->stream();
    unsigned int done = 0;
    while (stream && engine.IsDecoding()) {
        unsigned int got = 0;
        int result = Ok;
        {
            DecoderLock lock(engine.decoderLock());
            if (isOvertaken())
                break;
            if (engine.newPosition())
                done = 0;
            result = readOnce(*stream, static_cast<char*>(buf) + done, len - done, got);
        }
        if (result >= 0) {
            done += std::min(got, len - done);
            if (done >= len)
                return {len, Ok};
        } else if (result != StreamRetry) {
            return {done, result};
        } else if (!waitForData(engine, name, *stream)) {
            break;
        }
    }
    return {done, GaveUp};
}

/// One wait for data, in slices: a stream that does not notice its Close must not hold the run up.
int BufferedRead::waitOnce(DecoderImple& engine, BufferStream& stream)
{
    auto const report = [this, &engine](int percent) { bufferStatus(engine, percent); };
    for (auto left = deadlines().readWait; left.count() > 0; left -= WaitSlice) {
        int const slice = static_cast<int>(std::min(left, WaitSlice).count());
        int const result = stream.WaitForReadable(slice, report);
        if (result != BufferStream::TimedOut || !engine.IsDecoding())
            return result;
        if (isOvertaken())
            return Overtaken;
    }
    return BufferStream::TimedOut;
}

/// @return false when it makes no sense to read again
bool BufferedRead::waitForData(DecoderImple& engine, const char* name, BufferStream& stream)
{
    m_lastStatus = 0;
    int timeouts = 0;
    for (int wait = 0; wait < WaitsPerRead; ++wait) {
        int const statusBefore = m_lastStatus;
        int const result = waitOnce(engine, stream);
        if (result >= 0)
            return true;
        if (!engine.IsDecoding() || result == Overtaken)
            return false;
        if (result != BufferStream::TimedOut) {
            std::fprintf(stderr, "[BufferReaderModule::%s] WaitForReadable error, %ld\n", name,
                         static_cast<long>(result));
            return false;
        }
        std::fprintf(stderr, "[BufferReaderModule::%s] WaitForReadable timeout!!, %ld\n", name,
                     static_cast<long>(result));
        if (m_lastStatus == statusBefore && timeouts > ToleratedTimeouts)
            return false;
        ++timeouts;
        std::fprintf(stderr, "[BufferReaderModule::%s] wait one more!\n", name);
    }
    return true;
}

void BufferedRead::interruptPlayback(DecoderImple& engine, int result) const
{
    DecoderLock lock(engine.decoderLock());
    if (engine.isAtReadPosition())
        engine.Interrunpt(result);
}

void BufferedRead::putEofMark(DecoderImple& engine) const
{
    DecoderLock lock(engine.decoderLock());
    if (engine.isAtReadPosition())
        engine.PutEofMarkToSoundDevice();
}

void BufferedRead::bufferStatus(DecoderImple& engine, int percent)
{
    if (percent < 0)
        return;
    int rounded = percent / 5 * 5;
    if (m_lastStatus.exchange(rounded) != rounded)
        engine.SendEvent(EventBufferStatus, &rounded, sizeof rounded);
}

}} // namespace Avr::Decoder
