#ifndef WYERRLOG_TESTS_FOOTPRINT_H
#define WYERRLOG_TESTS_FOOTPRINT_H

// What a process holds, to see that it does not grow; and how much a test can afford.

#include <malloc.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "test_support/Sanitizer.h"

namespace test_support {

// Bytes of memory in use; 0 in a sanitized program, whose memory is the sanitizer's.
inline std::size_t MemoryInUse() {
  if (IsSanitized) return 0;
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

// Bytes of memory that are mapped.
inline std::size_t ResidentMemory() {
  std::ifstream file("/proc/self/statm");
  std::size_t uAll = 0, uResident = 0;
  file >> uAll >> uResident;
  return uResident * 4096;
}

inline long OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace test_support

#endif
