#pragma once

#include "decoder/Export.h"

#include <string>

namespace kiv { namespace appli {

/// A place for the player's own use at every VWMADecoder; the library neither reads nor writes it.
class AVR_API HalmerDecCommon {
public:
    virtual ~HalmerDecCommon() = default;

    unsigned int words[4] = {};
    std::string text;
};

}} // namespace kiv::appli
