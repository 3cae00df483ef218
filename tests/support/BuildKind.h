#pragma once

namespace avr { namespace test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool Sanitized = true;
#elif defined(__has_feature)
constexpr bool Sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool Sanitized = false;
#endif

#if defined(AVR_EMULATED)
constexpr bool Emulated = true;
#else
constexpr bool Emulated = false;
#endif

/// These run the same races fewer times.
constexpr bool Slow = Sanitized || Emulated;

}} // namespace avr::test
