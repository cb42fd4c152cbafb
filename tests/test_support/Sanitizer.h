#ifndef TEST_SUPPORT_SANITIZER_H
#define TEST_SUPPORT_SANITIZER_H

namespace test_support {

// Whether the program runs, slowly, under the thread sanitizer.
#if defined(__SANITIZE_THREAD__)
inline constexpr bool UnderThreadSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool UnderThreadSanitizer = __has_feature(thread_sanitizer);
#else
inline constexpr bool UnderThreadSanitizer = false;
#endif

}  // namespace test_support

#endif
