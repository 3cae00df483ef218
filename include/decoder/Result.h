#pragma once

namespace kiv { namespace appli {

/// What every operation answers: 0 is success, failures are negative.
enum Result : int {
    Ok = 0,
    /// The decoding thread was interrupted while it waited for Start.
    ResultInterrupted = -4,
    /// The general failure: no stream, no callback, a wrong state, a read or decode error.
    ErrorFailed = -10002,
    /// This decoder, or this stream, does not have the operation.
    ErrorNotSupported = -10005,
    /// Start without an opened stream whose format is known.
    ErrorInvalidState = -10008,
    /// The end of the input.
    ResultEndOfStream = -10101,
    /// From a stream's read only: nothing is available yet, call again.
    StreamRetry = -10103
};

}} // namespace kiv::appli
