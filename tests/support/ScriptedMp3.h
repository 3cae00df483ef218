#pragma once

#include "ScriptedStream.h"
#include "platform/codecs/vmp3.h"

#include <functional>

namespace avr { namespace test {

/// What VMP3_... answers: a step for each fetch, and for each decode without one before it. Behind
/// the last step the input is read to its end. The samples of a step are all its number, from 1.
struct ScriptedMp3 {
    struct Step {
        int fetched = 0;
        int decoded = 0;
        int samples = 576;
        int needFetch = 1;
        unsigned int reads = 0; ///< bytes that the fetch asks for
        std::function<void()> before = nullptr;
    };

    static ScriptedMp3& instance();

    std::vector<Step> steps;
    VMP3_StreamInfo info{44100, 2, 128000};

    // What came.
    int fetches = 0;
    int decodes = 0;
    bool fetchWasWanted = true; ///< as the decodes behind a fetch saw it
    Bytes input;

    // For the functions.
    void begin();
    void read();

    VMP3_InputDescriptor descriptor{};
    Step current;
    int number = 0; ///< of the current step
    bool hasFetched = false;
};

}} // namespace avr::test
