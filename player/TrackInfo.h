#pragma once

#include "decoder/WaveFormat.h"
#include "sound/ISoundSink.h"

#include <string>

namespace avr { namespace player {

/// How a decoder counts positions in a track: most as the track does.
struct DecoderTime {
    double scale = 1;          ///< its seconds for one of the track's
    double offset = 0;         ///< its seconds at the track's beginning
    bool wholeSeconds = false; ///< it drops what is between them

    kiv::appli::TimeSpec from(kiv::appli::TimeSpec const& track) const;
    kiv::appli::TimeSpec toTrack(kiv::appli::TimeSpec const& decoder) const;
};

/// What event 2 told, in the player's words.
struct TrackInfo {
    host::PcmFormat pcm;
    unsigned int bits = 0;  ///< in use, of a sample
    unsigned int shift = 0; ///< bits by which the samples stand too low in their bytes
    std::string codec;
    double bitRate = 0;           ///< bits per second, 0 = unknown
    double duration = 0;          ///< seconds, 0 = unknown
    bool durationIsGuess = false; ///< there may be more
    double lastPosition = 0;      ///< seconds; so far the decoder can be sent, 0 = it cannot seek
    DecoderTime time;
};

double bytesPerSecond(host::PcmFormat const& pcm);

/// Fills all but the codec's name from the decoder's two records.
/// @return one line why this cannot be played, or nothing
std::string takeRecords(kiv::appli::DecoderStreamInfo const& streamInfo,
                        kiv::appli::tWAVEFORMAT const& format, TrackInfo& info);

}} // namespace avr::player
