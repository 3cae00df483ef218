#pragma once

#include "ScriptedStream.h"
#include "platform/codecs/vaac.h"
#include "platform/codecs/vmp2.h"
#include "platform/codecs/vmp4.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace avr { namespace test {

/// A file, and the codec as a decoder uses it. The caller's areas hold garbage.
class AacPlay {
public:
    explicit AacPlay(Bytes content, bool seekable = true, std::size_t furthest = SIZE_MAX)
        : file(std::move(content)), canSeek(seekable), furthestSeek(furthest)
    {
        type = file[0] == 'A' ? VAAC_Adif : file[4] == 'f' ? VAAC_Mp4 : VAAC_Adts;
        VMP2_Config const adts = {read, seek, this, frameBuffer, VMP2_FrameBytes};
        VMP4_Config const mp4 = {read, seek, this};
        EXPECT_EQ(0, VMP2_open(&adts, splitter));
        opened = type == VAAC_Mp4 && VMP4_open(&mp4, &track, state) == 0;
        begun = restart() == 0;
    }
    ~AacPlay() { VMP4_close(state); }
    AacPlay(AacPlay const&) = delete;
    AacPlay& operator=(AacPlay const&) = delete;

    int fetch(void* to, unsigned int bytes)
    {
        return type == VAAC_Adif   ? int(read(to, 1, bytes, this))
               : type == VAAC_Adts ? VMP2_getFrame(to, bytes, splitter)
                                   : VMP4_getFrame(to, 0, index++, bytes, state);
    }
    /// @return false at the end
    bool step()
    {
        unsigned int words = 0;
        int wants = 0;
        void* const room = VAAC_getInputinfo(&words, &wants, instance);
        return (wants == 0 ||
                VAAC_notifyDecoder(fetched = fetch(room, 2 * words), instance) != 0) &&
               (decode() == 0 || (type != VAAC_Adif && restart() == 0));
    }
    int decode()
    {
        std::vector<std::int16_t> planes(VAAC_Planes * VAAC_FrameSamples, 77);
        int const result = VAAC_decode(instance, planes.data(), work);
        EXPECT_NE(VAAC_FatalError, result);
        VAAC_StreamInfo info;
        VAAC_getInfo(instance, &info);
        EXPECT_EQ(0u, result == 0 ? info.samples % VAAC_FrameSamples : info.samples);
        errors += result != 0;
        channels = info.samples != 0 ? info.channels : channels;
        planes.resize(info.samples * std::min(info.channels, VAAC_Planes));
        pcm.insert(pcm.end(), planes.begin(), planes.end());
        return result;
    }
    int restart()
    {
        VAAC_Config const config = {nullptr, track.samplingRate, track.channels};
        return VAAC_init(&config, type, instance);
    }
    std::vector<std::int16_t> const& all()
    {
        while (begun && step())
            continue;
        return pcm;
    }

    Bytes file;
    bool canSeek;
    std::size_t furthestSeek;
    bool opened = false, begun = false;
    int type = 0, reads = 0, failed = 0, seeks = 0, errors = 0, fetched = 0;
    unsigned int index = 0, channels = 0;
    VMP4_Info track{};
    unsigned char state[VMP4_StateBytes];
    std::vector<std::int16_t> pcm; ///< the planes of each frame in turn

private:
    static unsigned int read(void* to, unsigned int size, unsigned int count, void* self)
    {
        AacPlay& play = *static_cast<AacPlay*>(self);
        bool const fits = play.at <= play.file.size() && size * count <= play.file.size() - play.at;
        ++play.reads;
        play.failed += !fits;
        if (fits)
            std::copy_n(play.file.begin() + long(play.at), size * count, static_cast<char*>(to));
        play.at += fits ? size * count : 0;
        return fits ? size * count : 0;
    }
    static int seek(void* self, long offset, int)
    {
        AacPlay& play = *static_cast<AacPlay*>(self);
        ++play.seeks;
        bool const moves = play.canSeek && std::size_t(offset) <= play.furthestSeek;
        play.at = moves ? std::size_t(offset) : play.at;
        return moves ? 0 : -1;
    }

    std::size_t at = 0;
    unsigned char instance[VAAC_InstanceBytes], work[VAAC_WorkBytes], splitter[VMP2_StateBytes];
    unsigned char frameBuffer[VMP2_FrameBytes];
};

}} // namespace avr::test
