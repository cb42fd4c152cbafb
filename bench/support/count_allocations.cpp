// A library for LD_PRELOAD that replaces malloc and related functions, and with them operator new.
// When the program ends it prints "ALLOCATIONS PEAK" on standard error: the number of allocations,
// and the most bytes in use at one time.

#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>

// The C library's own functions, under the names that it exports besides.
extern "C" {
void* __libc_malloc(std::size_t nSize);
void* __libc_calloc(std::size_t nCount, std::size_t nSize);
void* __libc_realloc(void* pMemory, std::size_t nSize);
void* __libc_memalign(std::size_t nAlignment, std::size_t nSize);
void __libc_free(void* pMemory);
}

namespace {

std::atomic<long> g_nAllocations, g_nBytes, g_nPeak;

void* Counted(void* pMemory) {
  ++g_nAllocations;
  const long nBytes = g_nBytes += static_cast<long>(malloc_usable_size(pMemory));
  long nPeak = g_nPeak;
  while (nPeak < nBytes && !g_nPeak.compare_exchange_weak(nPeak, nBytes)) {
  }
  return pMemory;
}

void Discount(void* pMemory) { g_nBytes -= static_cast<long>(malloc_usable_size(pMemory)); }

[[gnu::destructor]] void Print() {
  std::fprintf(stderr, "%ld %ld\n", g_nAllocations.load(), g_nPeak.load());
}

}  // namespace

#define REPLACED extern "C" [[gnu::visibility("default")]]

REPLACED void* malloc(std::size_t nSize) noexcept { return Counted(__libc_malloc(nSize)); }

REPLACED void* calloc(std::size_t nCount, std::size_t nSize) noexcept {
  return Counted(__libc_calloc(nCount, nSize));
}

REPLACED void* realloc(void* pMemory, std::size_t nSize) noexcept {
  Discount(pMemory);
  return Counted(__libc_realloc(pMemory, nSize));
}

REPLACED void* memalign(std::size_t nAlignment, std::size_t nSize) noexcept {
  return Counted(__libc_memalign(nAlignment, nSize));
}

REPLACED void* aligned_alloc(std::size_t nAlignment, std::size_t nSize) noexcept {
  return Counted(__libc_memalign(nAlignment, nSize));
}

REPLACED int posix_memalign(void** ppMemory, std::size_t nAlignment, std::size_t nSize) noexcept {
  *ppMemory = Counted(__libc_memalign(nAlignment, nSize));
  return *ppMemory != nullptr ? 0 : ENOMEM;
}

REPLACED void free(void* pMemory) noexcept {
  Discount(pMemory);
  __libc_free(pMemory);
}
