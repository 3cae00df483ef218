#include "TrackInfo.h"

#include "Text.h"

#include <limits>

namespace avr { namespace player {

namespace {

using namespace kiv::appli;

constexpr double LargestWaveOffset = 4294967295.0 - 4096;

/// The output takes signed 8, 16, 24 and 32 bits; a decoder makes only real 8-bit PCM signed.
bool playable(unsigned int bits, unsigned int bytesPerSample)
{
    return bytesPerSample == 1 ? bits == 8
                               : bytesPerSample <= 4 && bits > 8 && bits <= 8 * bytesPerSample;
}

/// FLAC brings every other width than whole bytes in the low bits of 4 bytes; the record's block
/// align knows nothing of that.
bool takeFlacWidth(TrackInfo& info)
{
    if (info.bits < 4 || info.bits > 32)
        return false;
    bool const wholeBytes = info.bits % 8 == 0;
    info.pcm.bytesPerSample = static_cast<std::uint16_t>(wholeBytes ? info.bits / 8 : 4);
    info.shift = wholeBytes ? 0 : 32 - info.bits;
    return true;
}

bool takeWidth(std::uint32_t codecId, tWAVEFORMAT const& format, TrackInfo& info)
{
    if (codecId == CodecFlac)
        return takeFlacWidth(info);
    if (format.blockAlign % format.channels != 0)
        return false;
    info.pcm.bytesPerSample = static_cast<std::uint16_t>(format.blockAlign / format.channels);
    return playable(info.bits, info.pcm.bytesPerSample);
}

double lastPosition(std::uint32_t codecId, tWAVEFORMAT const& format, host::PcmFormat const& pcm)
{
    constexpr double Anywhere = std::numeric_limits<double>::infinity();
    switch (codecId) {
    case CodecWave: // its offsets have 32 bits: beyond, it would go somewhere else
        return LargestWaveOffset / bytesPerSecond(pcm);
    case CodecFlac: // it counts by the block align, which is 0 for the narrowest samples
        return format.blockAlign == 0 ? 0 : Anywhere;
    case CodecWmaStandard: // it counts milliseconds in 31 bits
        return 2147483;
    case CodecOggVorbis:
    case CodecHeAac:
    case CodecWmaLossless:
        return 0;
    default:
        return Anywhere;
    }
}

/// Where Ogg Vorbis knows nothing its library's error stands, negative in 32 bits.
double known(std::uint32_t word, std::uint32_t codecId)
{
    return codecId == CodecOggVorbis && word > INT32_MAX ? 0 : word;
}

std::string complaint(std::uint32_t codecId, TrackInfo const& info)
{
    if (codecId == CodecAac && info.pcm.rate == 0)
        return "AAC of a sampling rate that cannot be brought to an output rate (7350 Hz is one); "
               "convert the file";
    return "holds samples of " + std::to_string(info.bits) + " bits, " +
           std::to_string(info.pcm.channels) + " channels, " + std::to_string(info.pcm.rate) +
           " Hz; avrplay plays 8, 16, 24 and 32 bits";
}

} // namespace

TimeSpec DecoderTime::from(TimeSpec const& track) const
{
    bool const same = scale == 1 && offset == 0;
    TimeSpec const time = same ? track : toTimeSpec(toSeconds(track) * scale + offset);
    return {time.seconds, wholeSeconds ? 0 : time.nanoseconds};
}

TimeSpec DecoderTime::toTrack(TimeSpec const& decoder) const
{
    bool const same = scale == 1 && offset == 0;
    return same ? decoder : toTimeSpec((toSeconds(decoder) - offset) / scale);
}

double bytesPerSecond(host::PcmFormat const& pcm)
{
    return double(pcm.rate) * double(pcm.frameBytes());
}

std::string takeRecords(DecoderStreamInfo const& streamInfo, tWAVEFORMAT const& format,
                        TrackInfo& info)
{
    std::uint32_t const codecId = streamInfo.codecId;
    info.bits = format.bitsPerSample;
    info.pcm.rate = format.samplesPerSecond;
    info.pcm.channels = format.channels;
    info.bitRate = known(streamInfo.bitRate, codecId);
    info.duration = known(streamInfo.decoderWord, codecId) / 1000;
    if (format.channels == 0 || format.samplesPerSecond == 0 || !takeWidth(codecId, format, info))
        return complaint(codecId, info);
    info.lastPosition = lastPosition(codecId, format, info.pcm);
    info.time.wholeSeconds = codecId == CodecAac;
    info.durationIsGuess = codecId == CodecMp3; // by the bit rate of its first frame, mostly
    return {};
}

}} // namespace avr::player
