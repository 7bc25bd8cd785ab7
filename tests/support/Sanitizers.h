// Whether the program was built with a sanitizer, which multiplies time and memory.
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BUILT_WITH_ADDRESS_SANITIZER
#endif
#if __has_feature(thread_sanitizer)
#define BUILT_WITH_THREAD_SANITIZER
#endif
#endif

#if defined(__SANITIZE_THREAD__) || defined(BUILT_WITH_THREAD_SANITIZER)
constexpr bool THREAD_SANITIZED = true;
#else
constexpr bool THREAD_SANITIZED = false;
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(BUILT_WITH_ADDRESS_SANITIZER)
constexpr bool SANITIZED = true;
#else
constexpr bool SANITIZED = THREAD_SANITIZED;
#endif

// For code that must not be compiled with a sanitizer.
#if !defined(__SANITIZE_ADDRESS__) && !defined(BUILT_WITH_ADDRESS_SANITIZER) && !defined(__SANITIZE_THREAD__) && \
    !defined(BUILT_WITH_THREAD_SANITIZER)
#define NOT_SANITIZED
#endif
