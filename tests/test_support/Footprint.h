#ifndef WYERRLOG_TESTS_FOOTPRINT_H
#define WYERRLOG_TESTS_FOOTPRINT_H

// What a process holds, to see that it does not grow; and how much a test can afford.

#include <malloc.h>

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace test_support {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
inline constexpr bool IsSanitized = true;
#elif defined(__has_feature)
inline constexpr bool IsSanitized =
    __has_feature(thread_sanitizer) || __has_feature(address_sanitizer);
#else
inline constexpr bool IsSanitized = false;
#endif

// Bytes of memory in use; 0 in a sanitized program, whose memory is the sanitizer's.
inline std::size_t MemoryInUse() {
  if (IsSanitized) return 0;
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

inline long OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace test_support

#endif
