#include "test_support/AllocationCounter.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local long g_nAllocations = 0;

}  // namespace

long CountAllocations() { return g_nAllocations; }

void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept {
  ++g_nAllocations;
  return std::malloc(nSize != 0 ? nSize : 1);
}

void* operator new(std::size_t nSize) {
  if (void* pMemory = operator new(nSize, std::nothrow)) {
    return pMemory;
  }
  throw std::bad_alloc();
}

void operator delete(void* pMemory) noexcept { std::free(pMemory); }
void operator delete(void* pMemory, std::size_t) noexcept { std::free(pMemory); }
