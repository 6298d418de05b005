// Which sanitizer this build has, for tests whose counts or periods depend on it.
//
// Threads: constants. Errors: none.
#ifndef TESTS_SUPPORT_SANITIZED_H_
#define TESTS_SUPPORT_SANITIZED_H_

#if defined(__has_feature)
#define KIVTEST_HAS(feature) __has_feature(feature)
#else
#define KIVTEST_HAS(feature) 0
#endif

namespace kivtest {

#if defined(__SANITIZE_ADDRESS__) || KIVTEST_HAS(address_sanitizer)
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__) || KIVTEST_HAS(thread_sanitizer)
inline constexpr bool kThreadSanitizer = true;
#else
inline constexpr bool kThreadSanitizer = false;
#endif

inline constexpr bool kSanitized = kAddressSanitizer || kThreadSanitizer;

}  // namespace kivtest

#undef KIVTEST_HAS

#endif  // TESTS_SUPPORT_SANITIZED_H_
