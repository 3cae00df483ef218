#pragma once

#include "SourceFinder.h"
#include "Stage.h"

#include <optional>

namespace avr { namespace player {

/// Finds what stands at an address, while keys and signals are heard.
/// @return how it ended where the listener did not wait for it; then nothing is found
std::optional<TrackEnd> search(std::string const& address, Stage const& stage, Found& found);

}} // namespace avr::player
