#pragma once

#include "ScriptedStream.h"
#include "platform/codecs/wmal.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace avr { namespace test {

/// A file in memory, and a codec of the family as a decoder uses it. Watches what is read.
class WmaPlay {
public:
    explicit WmaPlay(Bytes content, bool lossless = false)
        : file(std::move(content)), isLossless(lossless)
    {
        begun = isLossless ? WMAL_init(state, &losslessParams) : WMA_init(state, &params);
    }
    WmaPlay(WmaPlay const&) = delete;
    WmaPlay& operator=(WmaPlay const&) = delete;

    /// @return the codec's result
    int step() { return isLossless ? stepLossless() : stepStandard(); }
    /// To the end. @return all the samples so far
    Bytes const& all()
    {
        while (begun == 0 && (result = step()) == 0)
            continue;
        return pcm;
    }
    int seek(unsigned int milliseconds)
    {
        return (isLossless ? WMAL_seek : WMA_seek)(state, milliseconds, nullptr);
    }
    int reset() { return (isLossless ? WMAL_reset : WMA_reset)(state); }

    Bytes file;
    bool const isLossless;
    bool canSeek = true, fetches = true;
    bool canGoBack = false; ///< also where it cannot seek
    bool givesUp = false;   ///< the next read, half way
    int begun = 0, result = 0, reads = 0, failedReads = 0, seeks = 0, damaged = 0;
    std::size_t at = 0, furthest = 0;
    Bytes pcm;
    __wma_parser_params_common input = {this, read, seekTo};
    __wma_info info{};
    __wmal_info losslessInfo{};

private:
    int stepStandard()
    {
        short samples = 7;
        unsigned char out[WMA_PcmBytes];
        int const decoded = WMA_decode(state, &samples, out);
        EXPECT_TRUE(decoded == 0 ? samples >= 0 && samples <= 2048 : samples == 0);
        pcm.insert(pcm.end(), out, out + samples * info.channels * 2);
        return decoded;
    }
    int stepLossless()
    {
        unsigned int available = 7;
        int const decoded = WMAL_decode(state, &available);
        damaged += decoded < -128 && decoded > -256 && WMAL_reset(state) == 0;
        EXPECT_TRUE(decoded == 0 || available == 0);
        if (!fetches)
            return decoded;
        std::vector<unsigned char> out(8192);
        for (short got = 0; available != 0; available -= unsigned(got)) {
            got = WMAL_getPCM(state, out.data(), 256);
            EXPECT_EQ(std::min(available, 256u), unsigned(got));
            pcm.insert(pcm.end(), out.begin(),
                       out.begin() + got * losslessInfo.dstChannel * losslessInfo.outputBitDepth);
        }
        EXPECT_EQ(decoded == -1 ? -1 : 0, WMAL_getPCM(state, out.data(), 1));
        return decoded < -128 ? 0 : decoded;
    }
    static int read(void* to, unsigned short size, unsigned short count, void* self)
    {
        WmaPlay& play = *static_cast<WmaPlay*>(self);
        std::size_t const bytes = std::size_t(size) * count;
        EXPECT_LE(bytes, 32767u);
        bool const fits = play.at <= play.file.size() && bytes <= play.file.size() - play.at;
        ++play.reads;
        play.failedReads += !fits;
        if (std::exchange(play.givesUp, false)) {
            play.at += bytes / 2;
            return 0;
        }
        if (!fits)
            return 0;
        std::copy_n(play.file.begin() + long(play.at), bytes, static_cast<char*>(to));
        play.at += bytes;
        play.furthest = std::max(play.furthest, play.at);
        return int(bytes);
    }
    static int seekTo(void* self, int offset, int whence)
    {
        WmaPlay& play = *static_cast<WmaPlay*>(self);
        EXPECT_EQ(0, whence);
        ++play.seeks;
        bool const can = play.canSeek || (play.canGoBack && std::size_t(offset) <= play.at);
        play.at = can ? std::size_t(offset) : play.at;
        return can ? 0 : 1;
    }

    unsigned char state[16] = {}, scratch[16]; ///< only their addresses count
    __wma_params params = {
        this,    read,    seekTo, ASF_parseAsfHeader, ASF_fileGetInput, ASF_seek, &info, 1, nullptr,
        nullptr, nullptr, scratch};
    __wmal_params losslessParams = {0,
                                    0,
                                    1,
                                    1,
                                    &losslessInfo,
                                    nullptr,
                                    this,
                                    read,
                                    seekTo,
                                    ASF_parseAsfHeader,
                                    ASF_fileGetInput,
                                    ASF_seek,
                                    scratch};
};

}} // namespace avr::test
