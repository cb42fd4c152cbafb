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

constexpr auto Usual = static_cast<std::align_val_t>(alignof(std::max_align_t));

void* AllocateOrNull(std::size_t uSize, std::align_val_t alignment) noexcept {
  void* pMemory = nullptr;
  if (test_support::Fails()) return nullptr;
  const int iError = posix_memalign(&pMemory, static_cast<std::size_t>(alignment), uSize);
  return iError == 0 ? pMemory : nullptr;
}

void* Allocate(std::size_t uSize, std::align_val_t alignment) {
  if (void* const pMemory = AllocateOrNull(uSize, alignment)) return pMemory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t u) { return Allocate(u, Usual); }
void* operator new[](std::size_t u) { return Allocate(u, Usual); }
void* operator new(std::size_t u, std::align_val_t alignment) { return Allocate(u, alignment); }
void* operator new(std::size_t u, const std::nothrow_t&) noexcept {
  return AllocateOrNull(u, Usual);
}
void* operator new[](std::size_t u, const std::nothrow_t&) noexcept {
  return AllocateOrNull(u, Usual);
}
void* operator new(std::size_t u, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AllocateOrNull(u, alignment);
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
