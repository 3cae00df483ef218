#pragma once

#include "decoder/WaveFormat.h"

namespace Avr { namespace Decoder {

// Between bytes of PCM and time. The only place that divides by bytes per second or by block
// align; where one of them is 0 the answer is 0.

/// How long so many bytes play.
kiv::appli::TimeSpec playingTime(std::uint64_t bytes, std::uint32_t bytesPerSecond);

double toSeconds(kiv::appli::TimeSpec const& time);

/// The byte that a time falls on; saturates.
std::int64_t bytePosition(kiv::appli::TimeSpec const& time, double bytesPerSecond);

/// The byte offset of a time, rounded down to a whole frame; saturates.
std::int64_t byteOffset(kiv::appli::TimeSpec const& time, std::uint32_t bytesPerSecond,
                        std::uint16_t blockAlign);

/// So many bytes as frames, rounded down.
std::int64_t wholeFrames(std::int64_t bytes, std::uint16_t blockAlign);

/// The playing time of `times` times so many bytes, in whole seconds but given in milliseconds;
/// 0 for a negative count; saturates.
std::uint32_t durationMilliseconds(std::int64_t bytes, unsigned int times,
                                   std::uint32_t bytesPerSecond);

}} // namespace Avr::Decoder
