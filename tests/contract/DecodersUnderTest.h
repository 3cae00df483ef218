#pragma once

#include "ScriptedStream.h"
#include "decoder/IDecoder.h"

#include <functional>
#include <memory>
#include <ostream>
#include <set>

namespace avr { namespace test {

/// Where a decoder differs from the others.
enum class Trait {
    TakesAnything,        ///< any input opens: nothing in it is checked
    PlaysWithoutCallback, ///< to the end of its input
    TakesFaultsAsEnd,     ///< faults of the stream in the play loop are not told from its end
    EndsWhenRefused,      ///< a refused block is the end, but the first one is not asked about
    ReadsNoFurther,       ///< than its last frame: what is behind it does not matter
    Repeats,              ///< plays its input more than once
    DescribesOnlyRuns,    ///< answers properties from event 2 to event 1 only
    FadesOut,             ///< before a fault: its last 8192 bytes are not what they would be
    IgnoresRefusals,      ///< plays on when a block is refused
    IgnoresPauses,
    TellsNoState, ///< nor its format, but with event 2
    TriesTwice    ///< what does not open at first gets a run more
};

/// One row of the contract suite.
struct DecoderUnderTest {
    bool has(Trait trait) const { return traits.count(trait) != 0; }

    const char* name;
    std::function<std::unique_ptr<kiv::appli::IDecoder>()> make;
    /// An input that plays, some tens of blocks long.
    Bytes sample;
    std::set<Trait> traits;
    /// Comes before each Open.
    std::function<void()> prepare = [] {};
};

inline std::ostream& operator<<(std::ostream& out, DecoderUnderTest const& row)
{
    return out << row.name;
}

std::vector<DecoderUnderTest> const& decodersUnderTest();

}} // namespace avr::test
