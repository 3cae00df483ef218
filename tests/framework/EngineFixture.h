#pragma once

#include "Deadlines.h"
#include "DecoderRun.h"
#include "LogCapture.h"
#include "TestDecoder.h"

#include <thread>

namespace avr { namespace test {

using namespace kiv::appli;
using Avr::Decoder::Deadlines;
using Avr::Decoder::deadlines;
using Events = std::vector<int>;
using std::chrono::milliseconds;

/// An engine with the test's hooks, a scripted stream and a recording player.
class Engine : public DecoderRun {
protected:
    ~Engine() override { deadlines() = Deadlines(); }

    IDecoder& underTest() override { return decoder; }

    using DecoderRun::open;
    void open() { open(Script()); }
    /// A whole run with the hooks as they are.
    void runToTheEnd()
    {
        open();
        play();
    }
    /// As far as event 4.
    void begin()
    {
        openAndWait(Script());
        ASSERT_EQ(Ok, decoder.Start());
        ASSERT_TRUE(callback.waitFor(4));
    }
    /// A play loop that is deaf to everything but `stubborn`.
    void playStubbornly()
    {
        stubborn = true;
        decoder.onPlay = [this] {
            while (stubborn)
                std::this_thread::yield();
            return 0;
        };
        begin();
    }
    int state()
    {
        smart_enum<DecoderStateBase> now;
        decoder.GetCurrentState(now);
        return now;
    }

    std::atomic<bool> stubborn{false};
    TestDecoder decoder;
};

}} // namespace avr::test
