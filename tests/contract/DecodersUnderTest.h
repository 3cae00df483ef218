#pragma once

#include "ScriptedStream.h"
#include "decoder/IDecoder.h"

#include <functional>
#include <memory>
#include <ostream>

namespace avr { namespace test {

/// One row of the contract suite.
struct DecoderUnderTest {
    const char* name;
    std::function<std::unique_ptr<kiv::appli::IDecoder>()> make;
    /// An input that plays, some tens of blocks long.
    Bytes sample;
    /// Any input opens: nothing in it is checked.
    bool takesAnything;
    /// Runs to the end of its input also without a callback.
    bool playsWithoutCallback;
    /// Faults of the stream in the play loop are not told from its end.
    bool takesFaultsAsEnd;
    /// Plays its input more than once.
    bool repeats;
    /// Answers properties from event 2 to event 1 only.
    bool describesOnlyRuns;
};

inline std::ostream& operator<<(std::ostream& out, DecoderUnderTest const& row)
{
    return out << row.name;
}

std::vector<DecoderUnderTest> const& decodersUnderTest();

}} // namespace avr::test
