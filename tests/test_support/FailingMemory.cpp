#include "test_support/FailingMemory.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "test_support/Sanitizer.h"

namespace test_support {

namespace {

constinit thread_local bool t_bInCall = false;
constinit long s_lFailing = 0;
constinit bool s_bAllAfterIt = false;
constinit long s_lReached = 0;

bool Fails() {
  if (!t_bInCall || s_lFailing == 0) return false;
  const long lNumber = ++s_lReached;
  return lNumber == s_lFailing || (s_bAllAfterIt && lNumber > s_lFailing);
}

}  // namespace

void FailingMemory::FailAt(long lNumber, bool bAllAfterIt) {
  s_lFailing = lNumber;
  s_bAllAfterIt = bAllAfterIt;
  s_lReached = 0;
}

bool FailingMemory::HasFailed() { return s_lReached >= s_lFailing; }

FailingMemory::Window::Window() { t_bInCall = true; }
FailingMemory::Window::~Window() { t_bInCall = false; }

FailingMemory::Spared::Spared() : m_bBefore(t_bInCall) { t_bInCall = false; }
FailingMemory::Spared::~Spared() { t_bInCall = m_bBefore; }

}  // namespace test_support

#ifdef WYERRLOG_TEST_SANITIZED

namespace {

void* Allocate(std::size_t uSize, std::size_t uAlignment) {
  void* pMemory = nullptr;
  if (test_support::Fails() || posix_memalign(&pMemory, uAlignment, uSize) != 0) {
    throw std::bad_alloc();
  }
  return pMemory;
}

}  // namespace

void* operator new(std::size_t uSize) { return Allocate(uSize, alignof(std::max_align_t)); }
void* operator new[](std::size_t uSize) { return Allocate(uSize, alignof(std::max_align_t)); }
void* operator new(std::size_t uSize, std::align_val_t alignment) {
  return Allocate(uSize, static_cast<std::size_t>(alignment));
}
void operator delete(void* p) noexcept { free(p); }
void operator delete[](void* p) noexcept { free(p); }
void operator delete(void* p, std::size_t) noexcept { free(p); }
void operator delete[](void* p, std::size_t) noexcept { free(p); }
void operator delete(void* p, std::align_val_t) noexcept { free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { free(p); }

#else

extern "C" {

void* __libc_malloc(std::size_t uSize);
void* __libc_calloc(std::size_t uCount, std::size_t uSize);

__attribute__((visibility("default"))) void* malloc(std::size_t uSize) {
  if (!test_support::Fails()) return __libc_malloc(uSize);
  errno = ENOMEM;
  return nullptr;
}

__attribute__((visibility("default"))) void* calloc(std::size_t uCount, std::size_t uSize) {
  if (!test_support::Fails()) return __libc_calloc(uCount, uSize);
  errno = ENOMEM;
  return nullptr;
}

}  // extern "C"

#endif
