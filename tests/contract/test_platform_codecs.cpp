// What any platform's codecs keep to when there is nothing for them: they refuse, they do not hang,
// and they leave no number behind that a decoder would use. A device that lacks a codec is no
// other.
#include "Samples.h"
#include "platform/codecs/vaac.h"
#include "platform/codecs/vmp2.h"
#include "platform/codecs/vmp3.h"
#include "platform/codecs/vmp4.h"
#include "platform/codecs/wmal.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

using namespace avr::test;

namespace {

/// So many zeros, in which there is nothing of any format.
struct Input {
    long size;
    long at = 0;
    int readsBehindTheEnd = 0;

    unsigned int take(void* to, unsigned int bytes)
    {
        if (bytes > unsigned(size - at)) {
            ++readsBehindTheEnd;
            return 0;
        }
        std::memset(to, 0, bytes);
        at += long(bytes);
        return bytes;
    }
    bool move(long offset, int origin)
    {
        long const target = origin == SEEK_CUR ? at + offset : offset;
        bool const can = origin != SEEK_END && target >= 0 && target <= size;
        at = can ? target : at;
        return can;
    }
};

unsigned int read(void* to, unsigned int elementSize, unsigned int count, void* context)
{
    return static_cast<Input*>(context)->take(to, elementSize * count);
}
int seek(void* context, long offset, int origin)
{
    return static_cast<Input*>(context)->move(offset, origin) ? 0 : -1;
}
int readAsf(void* to, unsigned short elementSize, unsigned short count, void* context)
{
    return int(read(to, elementSize, count, context));
}
int seekAsf(void* context, int offset, int whence) { return seek(context, offset, whence); }

/// Every area holds what memory may hold.
template <std::size_t Bytes>
struct Area {
    alignas(16) unsigned char bytes[Bytes];
    explicit Area(int fill = 0xA5) { std::memset(bytes, fill, Bytes); }
    operator void*() { return bytes; }
};

class PlatformCodecs : public testing::TestWithParam<long> {
protected:
    void TearDown() override { EXPECT_LE(input.readsBehindTheEnd, 20); }

    Input input{GetParam()};
};

} // namespace

TEST_P(PlatformCodecs, NoMp3)
{
    auto const instance = std::make_unique<Area<VMP3_InstanceBytes>>();
    Area<VMP3_WorkBytes> work;
    Area<VMP3_PcmBytes> pcm;
    Area<VMP3_InputBytes> buffer;
    ASSERT_GT(VMP3_getDataObjSize(), 0u); // else there is no memory for it
    Bytes data(VMP3_getDataObjSize(), 0xA5);
    VMP3_InputDescriptor descriptor = {buffer.bytes, VMP3_InputBytes, &input, read};
    VMP3_init(*instance, &descriptor, data.data());
    for (int i = 0; i < 3; ++i) {
        int const fetched = VMP3_fetchFrame(data.data());
        EXPECT_TRUE(fetched != 0 && fetched != 1) << fetched;
        int samples = 0, needFetch = 1; // the decoder asks all the same
        VMP3_decode(work, *instance, pcm, &samples, &needFetch, data.data());
        EXPECT_EQ(0, samples);
        EXPECT_EQ(1, needFetch);
    }
}

TEST_P(PlatformCodecs, NoMp4)
{
    Area<VMP4_StateBytes> state;
    VMP4_close(state); // a state that was never open
    VMP4_Config const config = {read, seek, &input};
    VMP4_Info info{};
    EXPECT_NE(0, VMP4_open(&config, &info, state));
    EXPECT_LT(VMP4_getAudioTrack(state), 0);
    EXPECT_LE(VMP4_getFrame(Area<64>(), 0, 0, 64, state), 0);
    EXPECT_EQ(0u, info.samplingRate);
    VMP4_close(state);
    VMP4_close(state);
}

TEST_P(PlatformCodecs, NoAac)
{
    Area<VMP2_StateBytes> state;
    Area<VMP2_FrameBytes> frame;
    VMP2_Config const splitter = {read, seek, &input, frame.bytes, VMP2_FrameBytes};
    if (VMP2_open(&splitter, state) == 0) {
        EXPECT_LE(VMP2_getFrame(frame, VMP2_FrameBytes, state), 0);
    }

    VAAC_Config const config = {nullptr, 0, 0};
    for (int type : {VAAC_Adif, VAAC_Adts, VAAC_Mp4}) {
        Area<VAAC_InstanceBytes> instance;
        Area<VAAC_WorkBytes> work;
        std::int16_t planes[VAAC_Planes * VAAC_FrameSamples];
        if (VAAC_init(&config, type, instance) != 0)
            continue;
        unsigned int words = 0;
        int wanted = 0;
        void* const room = VAAC_getInputinfo(&words, &wanted, instance);
        ASSERT_EQ(1, wanted);
        ASSERT_TRUE(room && words != 0);
        EXPECT_EQ(0, VAAC_notifyDecoder(0, instance)); // the input has ended
        VAAC_decode(instance, planes, work);
        VAAC_StreamInfo info = {1, 1, 1};
        VAAC_getInfo(instance, &info);
        EXPECT_EQ(0u, info.samples);
    }
}

TEST_P(PlatformCodecs, NoWma)
{
    Area<ASF_ScratchBytes> scratch(0);
    __wma_parser_params_common common = {&input, readAsf, seekAsf};
    __wma_parser_stream_params stream = {};
    EXPECT_LT(ASF_parseAsfHeader(0, 0, scratch, &common, &stream), ASF_ParserErrors);

    auto const work = std::make_unique<Area<WMA_WorkBytes>[]>(3);
    auto const words = [&](std::size_t i) { return reinterpret_cast<int*>(work[i].bytes); };
    Area<WMA_StateBytes> state(0);
    WMA_reset(state); // before it was begun
    __wma_info info = {};
    std::memset(scratch, 0, sizeof scratch);
    input.at = 0;
    __wma_params params = {&input,
                           readAsf,
                           seekAsf,
                           ASF_parseAsfHeader,
                           ASF_fileGetInput,
                           ASF_seek,
                           &info,
                           1,
                           words(0),
                           words(1),
                           reinterpret_cast<unsigned int*>(words(2)),
                           scratch};
    EXPECT_NE(0, WMA_init(state, &params));
    EXPECT_NE(0, WMA_seek(state, 0, nullptr));
}

TEST_P(PlatformCodecs, NoWmaLossless)
{
    Area<ASF_ScratchBytes> scratch(0);
    auto const work = std::make_unique<Area<WMAL_WorkBytes>>();
    auto const state = std::make_unique<Area<WMAL_StateBytes>>(0);
    WMAL_reset(*state);
    __wmal_info info = {};
    __wmal_params params = {0,
                            0,
                            1,
                            1,
                            &info,
                            reinterpret_cast<int*>(work->bytes),
                            &input,
                            readAsf,
                            seekAsf,
                            ASF_parseAsfHeader,
                            ASF_fileGetInput,
                            ASF_seek,
                            scratch};
    EXPECT_NE(0, WMAL_init(*state, &params));
    EXPECT_NE(0, WMAL_seek(*state, 0, nullptr));
}

INSTANTIATE_TEST_SUITE_P(EmptyAndZeros, PlatformCodecs, testing::Values(0L, 5000L));
