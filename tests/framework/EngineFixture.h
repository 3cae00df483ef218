#pragma once

#include "Deadlines.h"
#include "FakeSoundDevice.h"
#include "LogCapture.h"
#include "RecordingCallback.h"
#include "Samples.h"
#include "TestDecoder.h"

#include <gtest/gtest.h>

#include <thread>

namespace avr { namespace test {

using namespace kiv::appli;
using Avr::Decoder::Deadlines;
using Avr::Decoder::deadlines;
using Events = std::vector<int>;
using std::chrono::milliseconds;

/// An engine with the test's hooks, a scripted stream and a recording player.
class Engine : public testing::Test {
protected:
    ~Engine() override { deadlines() = Deadlines(); }

    void open(Script script = {}) { openOn(scripted(std::move(script))); }
    void openOn(boost::shared_ptr<ScriptedStream> on)
    {
        stream = on;
        ASSERT_EQ(Ok, decoder.Open(on, &callback));
    }
    void play()
    {
        open();
        ASSERT_TRUE(callback.waitFor(2));
        ASSERT_EQ(Ok, decoder.Start());
        ASSERT_TRUE(callback.waitFor(4));
    }
    int state()
    {
        smart_enum<DecoderStateBase> now;
        decoder.GetCurrentState(now);
        return now;
    }
    void finish()
    {
        EXPECT_TRUE(callback.waitFor(1));
        decoder.Close();
        EXPECT_EQ(1, callback.count(1));
        EXPECT_EQ(1, callback.events().back());
        EXPECT_EQ(DecoderStateBase::Closed, state());
    }

    RecordingCallback callback;
    boost::shared_ptr<ScriptedStream> stream;
    TestDecoder decoder;
};

}} // namespace avr::test
