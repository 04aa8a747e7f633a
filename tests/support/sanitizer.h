#pragma once
// What a build with sanitizers does otherwise.

/// The address sanitizer keeps freed memory for a while, to catch who still uses it; for leaks it looks by itself.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool IS_FREED_MEMORY_KEPT = true;
#elif defined(__has_feature)
constexpr bool IS_FREED_MEMORY_KEPT = __has_feature(address_sanitizer);
#else
constexpr bool IS_FREED_MEMORY_KEPT = false;
#endif

/// The thread sanitizer looks for two threads at one place, which takes as many tries as there is time for.
#if defined(__SANITIZE_THREAD__)
constexpr bool IS_THREAD_SANITIZED = true;
#elif defined(__has_feature)
constexpr bool IS_THREAD_SANITIZED = __has_feature(thread_sanitizer);
#else
constexpr bool IS_THREAD_SANITIZED = false;
#endif
