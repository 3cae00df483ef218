#pragma once

#include <chrono>

namespace avr { namespace host {

/// How long a network stream waits.
struct NetworkLimits {
    std::chrono::milliseconds connect{10000}; ///< for a connection
    std::chrono::milliseconds stall{20000};   ///< for the next byte
    std::chrono::milliseconds pause{500};     ///< before it connects again; then longer each time
};

}} // namespace avr::host
