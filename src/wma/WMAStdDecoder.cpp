#include "WMAStdDecoder.h"

#include "PcmTime.h"
#include "WmaFormat.h"

#include <cstdio>

namespace kiv { namespace appli {

using namespace Avr::Decoder;

int WMAStdDecoder::openHook(StreamPtr stream)
{
    int const result = m_codec.open(inputOver(stream));
    if (result != 0) {
        std::printf("WMA_FILE:: Failed in WMA_init = %d\n", result);
        return report(ErrorFailed);
    }
    m_codec.describe(m_streamInfo);
    return report(Ok);
}

int WMAStdDecoder::playThread()
{
    for (int end = Ok;;) {
        if (!goesOn(end))
            return end;
        short samples = 0;
        int const result = m_codec.decode(samples, m_pcm);
        if (result < 0) {
            std::printf("WMA_FILE:: Got %d while decoding\n", result);
            return ErrorFailed;
        }
        if (result == WmaNoMoreData) {
            std::puts("no more flame");
            if (endsHere())
                return ResultEndOfStream;
        } else if (samples > 0) {
            unsigned int const bytes = m_codec.channels() * static_cast<unsigned int>(samples) * 2;
            TimeSpec duration = playingTime(bytes, m_streamInfo.format.averageBytesPerSecond);
            SendOnSample(m_pcm, bytes, &duration);
        }
        InterruptionPoint();
    }
}

}} // namespace kiv::appli
