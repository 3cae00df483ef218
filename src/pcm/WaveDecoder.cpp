#include "WaveDecoder.h"

#include "Log.h"

#include <vector>

namespace kiv { namespace appli {

using Avr::Decoder::logLine;

int WaveDecoder::playThread()
{
    std::size_t const bytes = blockBytes();
    if (bytes == 0)
        return ErrorFailed;
    std::vector<std::uint8_t> block(bytes);
    int const result = playBlocks(block.data(), static_cast<unsigned int>(bytes));
    return InterruptRequested() ? interruptedResult() : result;
}

int WaveDecoder::playBlocks(std::uint8_t* block, unsigned int bytes)
{
    RiffHead const head = this->head();
    int result = Ok;
    for (;;) {
        Pass const pass = nextPass();
        if (pass == Pass::PlayedOut)
            return ResultEndOfStream;
        if (pass == Pass::Stopped)
            return result;
        if (Read(block, bytes) == 0) {
            logLine("[WaveDecoder::] read error caused. outSize=0");
            m_reader.putEofMark(*this);
            continue;
        }
        if (head.format.bitsPerSample == 8)
            makeSigned(block, bytes);
        result = deliver(block, bytes, head);
        if (result < 0)
            return result;
        result = PauseCheck();
    }
}

}} // namespace kiv::appli
