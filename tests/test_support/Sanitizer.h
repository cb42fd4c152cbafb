#ifndef TEST_SUPPORT_SANITIZER_H
#define TEST_SUPPORT_SANITIZER_H

namespace test_support {

// Whether the program runs, slowly, under the thread sanitizer or the address sanitizer. Their own
// allocators may hang in a child that was forked while other threads were allocating; tests leave
// out what such a child does.
#if defined(__SANITIZE_THREAD__)
inline constexpr bool IsThreadSanitized = true;
#elif defined(__has_feature)
inline constexpr bool IsThreadSanitized = __has_feature(thread_sanitizer);
#else
inline constexpr bool IsThreadSanitized = false;
#endif

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool IsSanitized = true;
#elif defined(__has_feature)
inline constexpr bool IsSanitized = IsThreadSanitized || __has_feature(address_sanitizer);
#else
inline constexpr bool IsSanitized = IsThreadSanitized;
#endif

}  // namespace test_support

#endif
