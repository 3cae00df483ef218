// What the library costs beside libFLAC, Tremor and FDK AAC: CodecRows.h says how it is measured.
#include "CodecRows.h"

#include <FLAC/stream_decoder.h>
#include <fdk-aac/aacdecoder_lib.h>
#include <tremor/ivorbisfile.h>

#include <time.h>
#include <vector>

using namespace avr::bench;

namespace {

FLAC__StreamDecoderWriteStatus drop(const FLAC__StreamDecoder*, const FLAC__Frame*,
                                    const FLAC__int32* const* channels, void*)
{
    keep(channels[0]);
    return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
}
void ignore(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus, void*) {}

void loopOverFlac(std::string const& path)
{
    FLAC__StreamDecoder* const decoder = FLAC__stream_decoder_new();
    FLAC__stream_decoder_init_file(decoder, path.c_str(), drop, nullptr, ignore, nullptr);
    FLAC__stream_decoder_process_until_end_of_stream(decoder);
    FLAC__stream_decoder_delete(decoder);
}

void loopOverVorbis(std::string const& path)
{
    OggVorbis_File file{};
    ov_open(std::fopen(path.c_str(), "rb"), &file, nullptr, 0);
    char block[4096];
    int section = 0;
    while (ov_read(&file, block, sizeof block, &section) > 0)
        keep(block);
    ov_clear(&file);
}

/// Paces itself with the sleeps that the decoder has: 2 ms for 1024 frames.
void loopOverHeAac(std::string const& path)
{
    HANDLE_AACDECODER const decoder = aacDecoder_Open(TT_MP4_ADTS, 1);
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    std::vector<UCHAR> chunk(8192);
    std::vector<INT_PCM> pcm(16384);
    UCHAR* chunks[] = {chunk.data()};
    for (;;) {
        UINT const size = static_cast<UINT>(std::fread(chunk.data(), 1, chunk.size(), file));
        UINT left = size;
        AAC_DECODER_ERROR error = AAC_DEC_OK;
        do {
            aacDecoder_Fill(decoder, chunks, &size, &left);
            error = aacDecoder_DecodeFrame(decoder, pcm.data(), int(pcm.size()), 0);
            if (error != AAC_DEC_OK)
                continue;
            keep(pcm.data());
            for (int done = 0; done < aacDecoder_GetStreamInfo(decoder)->frameSize; done += 1024) {
                timespec const pause{0, 2000000};
                nanosleep(&pause, nullptr);
            }
        } while (left != 0 || error != AAC_DEC_NOT_ENOUGH_BITS);
        if (size == 0)
            break;
    }
    std::fclose(file);
    aacDecoder_Close(decoder);
}

constexpr Row Rows[] = {{"flac", "tune-16-44.flac", loopOverFlac},
                        {"flac", "tune-24-96.flac", loopOverFlac},
                        {"ogg", "tune.ogg", loopOverVorbis},
                        {"he-aac", "tune-he.aac", loopOverHeAac}};

} // namespace

int main(int argc, char** argv) { return compareRows(Rows, argc, argv); }
