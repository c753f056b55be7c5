#pragma once

// gcc tells by macros which sanitizer it compiles with, clang 14 by features.
#ifndef __has_feature
#define __has_feature(feature) 0
#endif

namespace test {

/// The tests are compiled with AddressSanitizer, and that brings UndefinedBehaviorSanitizer with it.
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
inline constexpr bool kWithAsan = true;
#else
inline constexpr bool kWithAsan = false;
#endif

/// The tests are compiled with ThreadSanitizer.
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
inline constexpr bool kWithTsan = true;
#else
inline constexpr bool kWithTsan = false;
#endif

}  // namespace test
