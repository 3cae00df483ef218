#pragma once

#include "FakeSoundDevice.h"
#include "LogCapture.h"
#include "RecordingCallback.h"
#include "Samples.h"
#include "decoder/IDecoder.h"

#include <gtest/gtest.h>

namespace avr { namespace test {

/// Runs of a decoder over scripted streams, for test fixtures. The decoder is the fixture's own
/// member, so it is closed before callback and stream go.
class DecoderRun : public testing::Test {
protected:
    virtual kiv::appli::IDecoder& underTest() = 0;
    /// Before each Open.
    virtual void prepare() {}

    /// Begins a run; what the one before left is forgotten.
    void open(Script script)
    {
        underTest().Close();
        callback.clear();
        FakeSoundDevice::instance().beginRun();
        stream = scripted(std::move(script));
        prepare();
        ASSERT_EQ(kiv::appli::Ok, underTest().Open(stream, &callback));
    }
    void open(Bytes data)
    {
        Script script;
        script.data = std::move(data);
        open(std::move(script));
    }
    void openAndWait(Script script)
    {
        open(std::move(script));
        ASSERT_TRUE(callback.waitFor(2));
    }
    /// From an opened run to its close event.
    void play()
    {
        ASSERT_TRUE(callback.waitFor(2));
        ASSERT_EQ(kiv::appli::Ok, underTest().Start());
        expectOneRun();
    }
    /// The run ends with exactly one event 1, which is the last.
    void expectOneRun() { expectRuns(1); }
    void expectRuns(int runs)
    {
        ASSERT_TRUE(callback.waitFor(1, runs));
        EXPECT_EQ(1, callback.events().back());
        EXPECT_EQ(runs, callback.count(1));
        kiv::appli::smart_enum<kiv::appli::DecoderStateBase> state;
        if (underTest().GetCurrentState(state) == kiv::appli::Ok) { // WMA tells none
            EXPECT_EQ(kiv::appli::DecoderStateBase::Closed, state);
        }
        EXPECT_FALSE(stream->contractBroken());
        EXPECT_LT(stream->IsOpened(), 0);
    }

    /// The open fails, with this in the log.
    void expectRefused(Bytes const& data, const char* text)
    {
        LogCapture log;
        open(data);
        expectOneRun();
        EXPECT_EQ((std::vector<int>{11, 1}), callback.events()) << text;
        EXPECT_TRUE(log.has(text)) << text << log.text();
    }

    RecordingCallback callback;
    boost::shared_ptr<ScriptedStream> stream;
};

}} // namespace avr::test
