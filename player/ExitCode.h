#pragma once

namespace avr { namespace player {

enum ExitCode : int {
    AllPlayed = 0,
    TrackFailed = 1,
    WrongUsage = 2,
    NoOutput = 3,
    WasInterrupted = 130
};

}} // namespace avr::player
