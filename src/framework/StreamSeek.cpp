#include "StreamSeek.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace Avr { namespace Decoder {

using namespace kiv::appli;

namespace {

template <class Move>
int reposition(DecoderImple& engine, Move move)
{
    boost::lock_guard<boost::recursive_mutex> lock(engine.decoderLock());
    int result = ErrorFailed;
    try {
        result = move();
    } catch (boost::thread_interrupted&) {
        if (engine.mayBeInterrupted())
            throw;
    } catch (...) { // a stream that throws has failed
    }
    if (result >= 0)
        engine.repositioned();
    return result;
}

} // namespace

int capabilitiesOf(Avr::Interface::IReadableStream& stream)
{
    try {
        return stream.GetCapabilities();
    } catch (...) { // a stream that throws can nothing
        return 0;
    }
}

long long contentLength(Avr::Interface::IReadableStream& stream)
{
    std::string text;
    try {
        if (stream.GetStreamProperty(Avr::Interface::IReadableStream::ContentLength, text) < 0)
            return 0;
    } catch (...) { // a stream that throws does not know
        return 0;
    }
    return std::max(0LL, std::strtoll(text.c_str(), nullptr, 10));
}

int seekByte(DecoderImple& engine, Avr::Interface::IReadableStream& stream, long long offset)
{
    return reposition(engine, [&] { return stream.SeekByte(offset); });
}

int seekTime(DecoderImple& engine, Avr::Interface::IReadableStream& stream, double seconds)
{
    return reposition(engine, [&] { return stream.SeekTime(seconds); });
}

int seekBufferedByte(DecoderImple& engine, BufferStream* stream, long long offset)
{
    if (stream == nullptr)
        return SeekFailed;
    if (seekByte(engine, *stream, offset) >= 0)
        return Ok;
    std::fprintf(stderr, "[StreamSeek] Seek operation failed\n");
    return SeekFailed;
}

}} // namespace Avr::Decoder
