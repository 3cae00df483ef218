#pragma once

#include "ScriptedStream.h"

namespace avr { namespace test {

struct FlacSpec {
    unsigned int channels = 2;
    unsigned int bits = 16;
    unsigned int rate = 44100;
    unsigned int frames = 20000;
    unsigned int blockSize = 4096; ///< frames
    unsigned int shift = 0;        ///< of the signal, so that two files differ
    bool knowsTotal = true;
};

/// A file of the reference encoder.
Bytes flacFile(FlacSpec const& spec);

/// Its PCM from a frame on as a decoder delivers it: the first two channels, 1 to 4 bytes a sample.
Bytes flacPcm(FlacSpec const& spec, unsigned int fromFrame = 0);

}} // namespace avr::test
