#ifndef WYERRLOG_INTERNAL_WYZEROEDMEMORY_H
#define WYERRLOG_INTERNAL_WYZEROEDMEMORY_H

// Zeroed memory whose pages the system maps when they are written to (mmap(2)): for objects that
// are large and mostly empty. In pages of the usual size, since a huge one would be mapped whole.

#include <sys/mman.h>

#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define WYERRLOG_LEAKS_ARE_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define WYERRLOG_LEAKS_ARE_CHECKED 1
#endif
#endif

#ifdef WYERRLOG_LEAKS_ARE_CHECKED

// The leak checker does not look for pointers in mapped memory.
inline void* WyNewZeroed(std::size_t uSize) {
  if (void* const pMemory = std::calloc(1, uSize)) return pMemory;
  throw std::bad_alloc();
}
inline void WyDeleteZeroed(void* pMemory, std::size_t /*uSize*/) { std::free(pMemory); }

#else

// Throws std::bad_alloc.
inline void* WyNewZeroed(std::size_t uSize) {
  void* const pMemory =
      mmap(nullptr, uSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pMemory == MAP_FAILED) throw std::bad_alloc();
  madvise(pMemory, uSize, MADV_NOHUGEPAGE);  // fails on systems without huge pages
  return pMemory;
}
inline void WyDeleteZeroed(void* pMemory, std::size_t uSize) { munmap(pMemory, uSize); }

#endif

#endif
