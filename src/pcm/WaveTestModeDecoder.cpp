#include "WaveTestModeDecoder.h"

#include "Deadlines.h"
#include "Log.h"
#include "PcmFormat.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <climits>
#include <cstdio>

namespace kiv { namespace appli {

using Avr::Decoder::deadlines;
using Avr::Decoder::logLine;

std::atomic<bool> m_flag{false};

namespace {

constexpr int Passes = 60;
/// As much as the pool ever holds, whatever the block align says.
constexpr std::size_t LargestPool = 256 * 1024 * 1024;

} // namespace

void WaveTraits<WaveTestModeDecoder>::reportDataSize(long long bytes)
{
    long long const shown = std::min<long long>(std::max<long long>(bytes, INT_MIN), INT_MAX);
    std::fprintf(stderr, "[WaveTestModeDecoder::moveToTop] DataSize = %d\n",
                 static_cast<int>(shown));
}

int WaveTestModeDecoder::playThread()
{
    m_flag = false;
    std::size_t const bytes = blockBytes();
    if (bytes == 0)
        return ErrorFailed;
    std::vector<Block> blocks = load(bytes);
    int const result = playPasses(blocks);
    if (result >= 0)
        endPlayback();
    return InterruptRequested() ? interruptedResult() : result;
}

/// Fills the pool until the data ends, a read fails or the pool is full. The last block has what
/// there was.
std::vector<WaveTestModeDecoder::Block> WaveTestModeDecoder::load(std::size_t blockBytes)
{
    // As many blocks as a block has bytes.
    std::size_t const poolBlocks = std::min(blockBytes, LargestPool / blockBytes);
    std::vector<Block> blocks;
    while (blocks.size() < poolBlocks && IsDecoding()) {
        Block block(blockBytes);
        int const bytes = ReadTestMode(block.data(), static_cast<unsigned int>(blockBytes));
        if (bytes == 0)
            break;
        block.resize(static_cast<std::size_t>(bytes));
        blocks.push_back(std::move(block));
        if (blocks.back().size() < blockBytes)
            break;
    }
    return blocks;
}

/// @return negative when the player refused a block
int WaveTestModeDecoder::playPasses(std::vector<Block>& blocks)
{
    RiffHead const head = this->head();
    for (int pass = 0; pass < Passes; ++pass) {
        for (Block& block : blocks) {
            if (m_flag || !IsDecoding())
                return Ok;
            // In place and so in every pass anew: each pass shifts the samples again.
            if (head.format.bitsPerSample == 8)
                makeSigned(block.data(), block.size());
            {
                boost::lock_guard<boost::recursive_mutex> lock(decoderLock());
                newPosition(); // what is in memory is never overtaken by a seek
            }
            int const result = deliver(block.data(), static_cast<unsigned int>(block.size()), head);
            if (result < 0)
                return result;
            PauseCheck();
        }
    }
    return Ok;
}

/// Puts the end mark and waits until the sound device has played everything.
void WaveTestModeDecoder::endPlayback()
{
    logLine("[WaveTestModeDecoder::] read error caused. outSize=0");
    while (IsDecoding()) {
        Interrunpt(ResultEndOfStream);
        if (IsDecoding()) {
            auto const pause = deadlines().endPoll.count();
            boost::this_thread::sleep_for(boost::chrono::milliseconds(pause));
        }
    }
}

}} // namespace kiv::appli
