#pragma once

#include "Source.h"

namespace avr { namespace player {

/// What is wrong with a source whose run failed, as far as stream and content tell.
/// @param event  the decoder's last word: 0, 11 or 12; `known`: the format had been read before
std::string explainFailure(Source const& source, int event, bool known);

}} // namespace avr::player
