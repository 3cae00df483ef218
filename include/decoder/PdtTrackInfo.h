#pragma once

#include <string>

/// The payload of event 7: an artist and a title found inside a running stream, in UTF-8.
/// The size that goes with it is 8 on every platform; the record lives as long as the call.
struct PdtTrackInfo {
    std::string artist; ///< empty when there is none
    std::string title;  ///< the same
};
