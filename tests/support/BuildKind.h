#pragma once

namespace avr { namespace test {

/// Sanitized builds run the same races fewer times.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool Sanitized = true;
#else
constexpr bool Sanitized = false;
#endif

}} // namespace avr::test
