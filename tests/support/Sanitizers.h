// Whether this program is built with one of the sanitizers, which make all of it slower, and some
// of it impossible.
#pragma once

namespace test {

#if defined(__has_feature)
#define TEST_HAS_SANITIZER(name) __has_feature(name##_sanitizer)
#else
#define TEST_HAS_SANITIZER(name) 0
#endif

#if defined(__SANITIZE_THREAD__) || TEST_HAS_SANITIZER(thread)
inline constexpr bool kIsThreadSanitized = true;
#else
inline constexpr bool kIsThreadSanitized = false;
#endif

#if defined(__SANITIZE_ADDRESS__) || TEST_HAS_SANITIZER(address)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = kIsThreadSanitized;
#endif

#undef TEST_HAS_SANITIZER

} // namespace test
