#pragma once

#include "ScriptedStream.h"
#include "platform/codecs/wmal.h"

#include <atomic>
#include <functional>

namespace avr { namespace test {

/// What WMA_... and WMAL_... answer: a step for each decode; behind the last one comes the end. A
/// frame's place in all that came is the value of its samples.
struct ScriptedWma {
    struct Step {
        int samples = 0; ///< per channel
        int result = 0;
        std::vector<short> fetched = {}; ///< the first fetches' results; others bring all
        std::function<void()> before = nullptr;
    };
    /// Of calls from any thread.
    struct Count : std::atomic<int> {
        Count(int count = 0) : atomic(count) {}
        Count(Count const& other) : atomic(other.load()) {}
        Count& operator=(Count const& other) { return store(other.load()), *this; }
    };
    struct Codec {
        std::vector<Step> steps;
        int begun = 0; ///< what the init says
        int sought = 0;
        std::function<void()> onInit = nullptr;

        // What came.
        std::size_t decodes = 0;
        std::vector<unsigned int> targets;
        Count resets;
    };

    static ScriptedWma& instance();

    Codec standard;
    Codec lossless;
    __wma_info info{44100, 2, 0, 9000, 0, 64000, 16, 1};
    __wmal_info losslessInfo{2, 0, 44100, 9000, 700000, 16, 0, 0, 2, 2};
    std::vector<short> counts; ///< that were to be fetched

    // For the functions, and what they were given.
    Step next(Codec& codec);
    void write(void* pcm, int frames, unsigned int channels, unsigned int bytes);

    __wma_params params{};
    __wmal_params losslessParams{};
    Step current;
    std::size_t fetches = 0; ///< of the current step
    int frame = 0;
};

}} // namespace avr::test
