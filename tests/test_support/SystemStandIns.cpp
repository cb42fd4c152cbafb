#include "test_support/SystemStandIns.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <type_traits>

// Visible, so that the platform libraries find these before the system's.
#define STAND_IN __attribute__((visibility("default")))

namespace stand_ins {

struct Plan {
  std::atomic<bool> bActive{false};
  std::atomic<long> lCalls{0};
  Fault fault{};
};

Plan s_plans[CallKinds];

Plan& PlanOf(Call call) { return s_plans[static_cast<int>(call)]; }

void Inject(const Fault& fault) {
  Plan& plan = PlanOf(fault.call);
  plan.bActive = false;
  plan.lCalls = 0;
  plan.fault = fault;
  plan.bActive = true;
}

bool Withdraw(Call call) {
  Plan& plan = PlanOf(call);
  plan.bActive = false;
  return plan.lCalls >= plan.fault.lFirst;
}

long Calls(Call call) { return PlanOf(call).lCalls; }

// The fault that befalls this call; null for none.
const Fault* Next(Call call) {
  Plan& plan = PlanOf(call);
  if (!plan.bActive) return nullptr;
  const long lTurn = ++plan.lCalls - plan.fault.lFirst;
  return 0 <= lTurn && lTurn < plan.fault.lCount ? &plan.fault : nullptr;
}

// Makes the call, or has it fail. `half` makes half of it.
template <typename Whole, typename Half>
auto Perform(Call call, Whole whole, Half half) -> decltype(whole()) {
  using Result = decltype(whole());
  const Fault* const pFault = Next(call);
  if (pFault == nullptr) return whole();
  if (pFault->effect == Effect::Short) return half();
  if (pFault->effect == Effect::DeathHalfWay) half();
  if (pFault->effect == Effect::DeathAfter) whole();
  if (pFault->effect != Effect::Failure) kill(getpid(), SIGKILL);
  errno = pFault->iErrno;
  if constexpr (std::is_same_v<Result, void*>) {
    return MAP_FAILED;
  } else if constexpr (std::is_pointer_v<Result>) {
    return nullptr;
  } else {
    return Result{-1};
  }
}

// The function of the system that the program's own has taken the place of.
template <typename Function>
Function* Real(const char* pszName) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, pszName));
}

template <typename Function, typename... Arguments>
auto Forward(Call call, const char* pszName, Arguments... arguments) {
  const auto whole = [=] { return Real<Function>(pszName)(arguments...); };
  return Perform(call, whole, whole);
}

}  // namespace stand_ins

using stand_ins::Call;
using stand_ins::Forward;
using stand_ins::Perform;
using stand_ins::Real;

extern "C" {

// ---- Descriptors --------------------------------------------------------------------------------

STAND_IN ssize_t write(int hFile, const void* pBytes, size_t uCount) {
  if (stand_ins::before_write) stand_ins::before_write();
  const auto write = [=](size_t u) { return Real<decltype(::write)>("write")(hFile, pBytes, u); };
  return Perform(
      Call::Write, [=] { return write(uCount); }, [=] { return write((uCount + 1) / 2); });
}

STAND_IN ssize_t writev(int hFile, const iovec* pParts, int iCount) {
  const auto write = [=](const iovec* p, int i) {
    return Real<decltype(::writev)>("writev")(hFile, p, i);
  };
  const auto writeHalf = [=] {
    std::string strAll;
    for (int i = 0; i < iCount; ++i) {
      strAll.append(static_cast<const char*>(pParts[i].iov_base), pParts[i].iov_len);
    }
    const iovec half = {strAll.data(), (strAll.size() + 1) / 2};
    return write(&half, 1);
  };
  return Perform(
      Call::WriteV, [=] { return write(pParts, iCount); }, writeHalf);
}

STAND_IN ssize_t read(int hFile, void* pBytes, size_t uCount) {
  return Forward<decltype(read)>(Call::Read, "read", hFile, pBytes, uCount);
}

STAND_IN ssize_t pread(int hFile, void* pBytes, size_t uCount, off_t lOffset) {
  return Forward<decltype(pread)>(Call::PRead, "pread", hFile, pBytes, uCount, lOffset);
}

STAND_IN int fsync(int hFile) { return Forward<decltype(fsync)>(Call::Sync, "fsync", hFile); }

STAND_IN int fdatasync(int hFile) {
  return Forward<decltype(fdatasync)>(Call::Sync, "fdatasync", hFile);
}

STAND_IN int flock(int hFile, int iOperation) noexcept {
  return Forward<decltype(flock)>(Call::FLock, "flock", hFile, iOperation);
}

// ---- Memory -------------------------------------------------------------------------------------

// The thread sanitizer maps memory before functions of the program can be called.
#if !defined(__SANITIZE_THREAD__)

STAND_IN void* mmap(void* pAt, size_t uCount, int iProtection, int iFlags, int hFile,
                    off_t lOffset) noexcept {
  return Forward<decltype(mmap)>(Call::MMap, "mmap", pAt, uCount, iProtection, iFlags, hFile,
                                 lOffset);
}

STAND_IN int mlock(const void* pAt, size_t uCount) noexcept {
  return Forward<decltype(mlock)>(Call::MLock, "mlock", pAt, uCount);
}

STAND_IN int madvise(void* pAt, size_t uCount, int iAdvice) noexcept {
  return Forward<decltype(madvise)>(Call::MAdvise, "madvise", pAt, uCount, iAdvice);
}

STAND_IN int msync(void* pAt, size_t uCount, int iFlags) {
  return Forward<decltype(msync)>(Call::MSync, "msync", pAt, uCount, iFlags);
}

#endif

// ---- Opening and closing ------------------------------------------------------------------------

STAND_IN int close(int hFile) {
  const int iResult = Real<decltype(close)>("close")(hFile);
  const auto closed = [=] { return iResult; };
  return Perform(Call::Close, closed, closed);
}

STAND_IN int fstat(int hFile, struct stat* pStatus) noexcept {
  return Forward<decltype(fstat)>(Call::Fstat, "fstat", hFile, pStatus);
}

STAND_IN off_t lseek(int hFile, off_t lOffset, int iFrom) noexcept {
  return Forward<decltype(lseek)>(Call::Lseek, "lseek", hFile, lOffset, iFrom);
}

STAND_IN int open(const char* pszPath, int iFlags, ...) {
  va_list args;
  va_start(args, iFlags);
  const bool bCreates = (iFlags & O_CREAT) != 0 || (iFlags & O_TMPFILE) == O_TMPFILE;
  const mode_t uMode = bCreates ? va_arg(args, mode_t) : 0;
  va_end(args);
  if ((iFlags & O_CLOEXEC) == 0) ++stand_ins::inheritable_opens;
  return Forward<decltype(open)>(Call::Open, "open", pszPath, iFlags, uMode);
}

// ---- Names --------------------------------------------------------------------------------------

STAND_IN int access(const char* pszPath, int iMode) noexcept {
  return Forward<decltype(access)>(Call::Access, "access", pszPath, iMode);
}

STAND_IN int stat(const char* pszPath, struct stat* pStatus) noexcept {
  return Forward<decltype(stat)>(Call::Stat, "stat", pszPath, pStatus);
}

STAND_IN int renameat2(int hFrom, const char* pszFrom, int hTo, const char* pszTo,
                       unsigned int uFlags) noexcept {
  if (stand_ins::before_rename) stand_ins::before_rename(pszTo);
  return Forward<decltype(renameat2)>(Call::Rename, "renameat2", hFrom, pszFrom, hTo, pszTo,
                                      uFlags);
}

STAND_IN int rename(const char* pszFrom, const char* pszTo) noexcept {
  return Forward<decltype(rename)>(Call::PlainRename, "rename", pszFrom, pszTo);
}

STAND_IN int unlink(const char* pszPath) noexcept {
  return Forward<decltype(unlink)>(Call::Unlink, "unlink", pszPath);
}

STAND_IN DIR* opendir(const char* pszPath) {
  return Forward<decltype(opendir)>(Call::OpenDir, "opendir", pszPath);
}

STAND_IN dirent* readdir(DIR* pDirectory) {
  return Forward<decltype(readdir)>(Call::ReadDir, "readdir", pDirectory);
}

// ---- Time ---------------------------------------------------------------------------------------

STAND_IN int gettimeofday(timeval* pNow, void* pZone) noexcept {
  const auto look = [=] {
    const time_t tNow = stand_ins::clock;
    if (tNow == 0) return Real<decltype(gettimeofday)>("gettimeofday")(pNow, pZone);
    *pNow = {tNow, 0};
    return 0;
  };
  return Perform(Call::Time, look, look);
}

STAND_IN int clock_gettime(clockid_t clock, timespec* pNow) noexcept {
  const long lNow = clock == CLOCK_MONOTONIC_COARSE ? stand_ins::coarse_clock.load() : 0;
  if (lNow == 0) return static_cast<int>(syscall(SYS_clock_gettime, clock, pNow));
  *pNow = {lNow / 1000, lNow % 1000 * 1'000'000};
  return 0;
}

STAND_IN time_t time(time_t* pResult) noexcept {
  timeval now;
  const time_t tNow = gettimeofday(&now, nullptr) == 0 ? now.tv_sec : -1;
  if (pResult != nullptr) *pResult = tNow;
  return tNow;
}

}  // extern "C"
