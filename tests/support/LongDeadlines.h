#pragma once

#include "Deadlines.h"

namespace avr { namespace test {

/// A Close that has no effect is told from a machine under load: what it does not end takes an hour,
/// and it says only after a minute that it waits for that. For fixtures that set the deadlines back.
inline void setLongDeadlines()
{
    Avr::Decoder::Deadlines& deadlines = Avr::Decoder::deadlines();
    deadlines.readWait = deadlines.libraryWait = deadlines.parseWait = std::chrono::hours(1);
    deadlines.joinReport = std::chrono::minutes(1);
}

}} // namespace avr::test
