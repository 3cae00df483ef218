#include "WMALosslessDecoder.h"

#include "PcmTime.h"
#include "WmaFormat.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace kiv { namespace appli {

using namespace Avr::Decoder;

namespace {

constexpr unsigned int MostSamples = 256; ///< per channel, of a block

} // namespace

int WMALosslessDecoder::openHook(StreamPtr stream)
{
    int const result = m_codec.open(inputOver(stream));
    if (result != 0) {
        std::printf(
            "wmal_file.exe :: Failed in init, error code = %d, error < -256 => parser error\n",
            result);
        return report(ErrorFailed);
    }
    m_codec.describe(m_streamInfo);
    return report(Ok);
}

int WMALosslessDecoder::playThread()
{
    for (int end = Ok;;) {
        if (!goesOn(end))
            return end;
        unsigned int available = 0;
        int const result = m_codec.decode(available);
        if (result == WmaNoMoreData) {
            std::cerr << "NO MORE FLAMES" << std::endl;
            if (endsHere())
                return ResultEndOfStream;
            continue;
        }
        if (WmaLosslessCodec::isDecodingError(result)) {
            std::cerr << "WMAL:: Error in decoding =" << result << std::endl;
            return ErrorFailed;
        }
        if (result < 0) {
            std::printf("WMAL:: Parser error = %d\n", result);
            if (WmaLosslessCodec::isFatalError(result))
                return ErrorFailed;
            m_codec.reset();
        }
        if (playFrame(available) < 0)
            return ErrorFailed;
        InterruptionPoint();
    }
}

/// @return negative when the codec failed; a frame that the player refuses is dropped
int WMALosslessDecoder::playFrame(unsigned int available)
{
    while (available != 0) {
        unsigned int const count = std::min(available, MostSamples);
        int const got = m_codec.getPcm(m_pcm, count);
        if (got < 0) {
            std::cerr << "WMAL error = %d, error < -256 => parser error =" << got << std::endl;
            return ErrorFailed;
        }
        if (got == 0)
            return Ok;
        unsigned int const bytes = m_codec.frameBytes() * count; // whatever it got
        TimeSpec duration = playingTime(bytes, m_streamInfo.format.averageBytesPerSecond);
        if (SendOnSample(m_pcm, bytes, &duration) < 0) {
            std::cerr << "On Sample Error!!\n" << std::endl;
            return Ok;
        }
        InterruptionPoint();
        available -= static_cast<unsigned int>(got);
    }
    return Ok;
}

}} // namespace kiv::appli
