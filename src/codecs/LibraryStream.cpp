#include "LibraryStream.h"

#include "Deadlines.h"
#include "StreamSeek.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <utility>

namespace kiv { namespace appli {

using Avr::Interface::IReadableStream;

namespace {

constexpr unsigned int BufferBytes = 96000;
constexpr unsigned int StartThreshold = 64000;
constexpr Avr::Decoder::Deadlines::Milliseconds WaitSlice(50);

/// @return false, and no text, when the stream does not know it; a stream that throws knows nothing
bool propertyOf(IReadableStream& stream, int key, std::string& value)
{
    try {
        if (stream.GetStreamProperty(key, value) >= 0)
            return true;
    } catch (...) {
    }
    value.clear();
    return false;
}

} // namespace

void LibraryStream::open(StreamPtr const& stream)
{
    m_interrupted = false;
    m_reports = false;
    whenDry(WhenDry::WaitAndReport);
    m_buffer = boost::make_shared<BufferStream>(stream);
    std::string type;
    propertyOf(*stream, IReadableStream::StreamType, type);
    bool const isLocal = type == "local";
    if (!isLocal && type != "http:inet")
        return; // reads pass through
    m_buffer->SetMaxBufferSize(BufferBytes);
    m_buffer->SetStartThreashold(StartThreshold);
    m_buffer->SetStopThreashold(0);
    m_reports = !isLocal;
    if (isLocal)
        std::cerr << ": stream type is local" << std::endl;
    m_buffer->StartBuffering();
}

int LibraryStream::read(void* buf, unsigned int len, unsigned int& got)
{
    got = 0;
    while (m_buffer && !m_interrupted && m_engine.IsDecoding()) {
        int const result = readOnce(buf, len, got);
        if (result != StreamRetry)
            return result;
        if (givesUp()) {
            m_dry = true;
            return StreamRetry;
        }
        if (!waitInPlace())
            break;
    }
    return ErrorFailed;
}

int LibraryStream::readOnce(void* buf, unsigned int len, unsigned int& got)
{
    int result = ErrorFailed;
    try {
        result = m_buffer->Read(buf, len, &got);
    } catch (boost::thread_interrupted&) {
        m_interrupted = m_engine.mayBeInterrupted();
    } catch (...) { // a stream that throws has failed
    }
    got = result < 0 ? 0 : std::min(got, len);
    if (result >= 0 && got == 0)
        return StreamRetry; // for a library it would be the end
    return std::min(result, int(Ok));
}

bool LibraryStream::waitInPlace()
{
    try {
        return wait(m_whenDry == WhenDry::WaitAndReport ? Wait::Reporting : Wait::Quiet);
    } catch (boost::thread_interrupted&) {
        m_interrupted = m_engine.mayBeInterrupted();
    } catch (...) { // a stream that throws has failed
    }
    return false;
}

bool LibraryStream::waitForData()
{
    try {
        return wait(Wait::OutsideTheLibrary) || isPaused();
    } catch (boost::thread_interrupted&) {
        throw;
    } catch (...) { // a stream that throws has failed
        return false;
    }
}

/// As long as the fill changes, or the player pauses, the stream may take its time. In slices: one
/// that does not notice its Close must not hold the run up.
bool LibraryStream::wait(Wait way)
{
    auto const limit = Avr::Decoder::deadlines().libraryWait;
    auto left = limit;
    int fill = -1;
    auto const progress = [&](int percent) {
        if (std::exchange(fill, percent) != percent)
            left = limit;
        if (m_reports && way != Wait::Quiet)
            reportFill(percent);
    };
    while (left.count() > 0) {
        auto const slice = std::min(left, WaitSlice);
        left -= slice;
        int const result = m_buffer->WaitForReadable(static_cast<int>(slice.count()), progress);
        if (result != BufferStream::TimedOut)
            return result >= 0 || result == ResultEndOfStream;
        if (!m_engine.IsDecoding() || (isPaused() && way == Wait::OutsideTheLibrary))
            return false; // the play loop waits while paused
        if (isPaused())
            left = limit;
    }
    return false;
}

bool LibraryStream::isPaused() const
{
    return m_engine.GetCurrentState() == DecoderStateBase::Paused;
}

void LibraryStream::reportFill(int percent)
{
    if (percent < 0)
        return;
    int rounded = percent / 10 * 10;
    if (m_lastFill.exchange(rounded) == rounded)
        return;
    m_engine.SendEvent(EventBufferStatus, &rounded, sizeof rounded);
    std::fprintf(stderr, "[bufferCallback] buffer status %d %%\n", percent);
}

void LibraryStream::rethrow()
{
    if (std::exchange(m_interrupted, false))
        throw boost::thread_interrupted();
}

long long LibraryStream::length() const
{
    return m_buffer ? Avr::Decoder::contentLength(*m_buffer) : 0;
}

bool LibraryStream::canSeekByte() const
{
    return m_buffer && (Avr::Decoder::capabilitiesOf(*m_buffer) & IReadableStream::CanSeekByte);
}

void LibraryStream::closeStream()
{
    try {
        m_buffer->Close();
    } catch (...) { // a stream that fails to close is closed
    }
}

bool LibraryStream::seekByte(long long offset)
{
    try {
        return m_buffer && m_buffer->SeekByte(offset) >= 0;
    } catch (...) { // a stream that throws has failed
        return false;
    }
}

}} // namespace kiv::appli
