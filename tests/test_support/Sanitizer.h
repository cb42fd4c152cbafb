#ifndef TEST_SUPPORT_SANITIZER_H
#define TEST_SUPPORT_SANITIZER_H

namespace test_support {

// Whether the program runs, slowly, under the thread sanitizer or the address sanitizer. Their own
// allocators may hang in a child that was forked while other threads were allocating; tests leave
// out what such a child does.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
inline constexpr bool IsSanitized = true;
#elif defined(__has_feature)
inline constexpr bool IsSanitized =
    __has_feature(thread_sanitizer) || __has_feature(address_sanitizer);
#else
inline constexpr bool IsSanitized = false;
#endif

}  // namespace test_support

#endif
