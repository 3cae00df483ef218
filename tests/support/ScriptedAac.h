#pragma once

#include "ScriptedStream.h"
#include "platform/codecs/vaac.h"
#include "platform/codecs/vmp2.h"
#include "platform/codecs/vmp4.h"

#include <functional>

namespace avr { namespace test {

/// What VAAC_..., VMP2_... and VMP4_... answer: a step for each decode. The samples of a step are
/// its number, from 1, on the left, and the negative of it on the right.
struct ScriptedAac {
    struct Step {
        std::uint32_t rate = 44100;
        std::uint32_t channels = 2;
        std::uint32_t samples = VAAC_FrameSamples;
        int error = 0;   ///< of the decode
        int bytes = 100; ///< that the fetch before it gives
        bool wantsInput = true;
        std::function<void()> before = nullptr; ///< its fetch
    };

    static ScriptedAac& instance();

    std::vector<Step> steps;
    std::vector<int> inits; ///< results of VAAC_init, then 0
    int opened = 0;         ///< result of the demultiplexers' open
    std::int16_t track = 3;
    VMP4_Info info{};
    std::function<void(VMP4_Config const&)> onOpen; ///< of either demultiplexer

    // What came.
    VAAC_Config config{};
    int fileType = -1;
    std::size_t initsDone = 0;
    int fetches = 0;
    int closes = 0;
    std::vector<unsigned int> samplesAsked;

    // For the functions.
    Step next() const { return number < steps.size() ? steps[number] : Step{0, 0, 0, 0, 0}; }
    int fetch(unsigned int capacity);

    Step current;
    std::size_t number = 0; ///< of the current step
    unsigned char input[100];
};

}} // namespace avr::test
