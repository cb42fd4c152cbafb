#include "test_support/SystemStandIns.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>

// Visible, so that the platform libraries find these before the system's.
#define STAND_IN __attribute__((visibility("default")))

namespace stand_ins {

// The function that the program's own has taken the place of.
template <typename Function>
Function* Real(Function*, const char* pszSymbol) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, pszSymbol));
}

int RealRename(const char* pszFrom, const char* pszTo) {
  return Real(&WyRename, "_Z8WyRenamePKcS0_")(pszFrom, pszTo);
}

int Refuse(int iErrno) {
  errno = iErrno;
  return -1;
}

// ---- Faults -------------------------------------------------------------------------------------

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

// The fault that befalls this call; null for none.
const Fault* Next(Call call, long& lTurn) {
  Plan& plan = PlanOf(call);
  if (!plan.bActive) return nullptr;
  lTurn = ++plan.lCalls - plan.fault.lFirst;
  return 0 <= lTurn && lTurn < plan.fault.lCount ? &plan.fault : nullptr;
}

void Die() { kill(getpid(), SIGKILL); }

// Makes the call, or has it fail with the result `failed`. `half` makes half of it.
template <typename Result, typename Whole, typename Half>
Result Perform(Call call, Result failed, Whole whole, Half half) {
  long lTurn = 0;
  const Fault* const pFault = Next(call, lTurn);
  if (pFault == nullptr) {
    return whole();
  }
  if (pFault->effect == Effect::DeathHalfWay) half();
  if (pFault->effect == Effect::DeathAfter) whole();
  if (pFault->effect >= Effect::DeathBefore) Die();
  errno = pFault->iErrno;
  return failed;
}

template <typename Result, typename Whole>
Result Perform(Call call, Result failed, Whole whole) {
  return Perform(call, failed, whole, whole);
}

}  // namespace stand_ins

using stand_ins::Call;
using stand_ins::Perform;
using stand_ins::Real;

STAND_IN int WyRename(const char* pszFrom, const char* pszTo) {
  return (stand_ins::rename ? stand_ins::rename : stand_ins::RealRename)(pszFrom, pszTo);
}

extern "C" {

// ---- Descriptors --------------------------------------------------------------------------------

STAND_IN ssize_t write(int hFile, const void* pBytes, size_t uCount) {
  static const auto pfnReal = Real(&write, "write");
  return Perform(
      Call::Write, ssize_t{-1}, [=] { return pfnReal(hFile, pBytes, uCount); },
      [=] { return pfnReal(hFile, pBytes, (uCount + 1) / 2); });
}

STAND_IN int close(int hFile) {
  static const auto pfnReal = Real(&close, "close");
  const int iResult = pfnReal(hFile);
  return Perform(Call::Close, -1, [=] { return iResult; });
}

STAND_IN int fstat(int hFile, struct stat* pStatus) noexcept {
  static const auto pfnReal = Real(&fstat, "fstat");
  return Perform(Call::Fstat, -1, [=] { return pfnReal(hFile, pStatus); });
}

STAND_IN off_t lseek(int hFile, off_t lOffset, int iFrom) noexcept {
  static const auto pfnReal = Real(&lseek, "lseek");
  return Perform(Call::Lseek, off_t{-1}, [=] { return pfnReal(hFile, lOffset, iFrom); });
}

STAND_IN int open(const char* pszPath, int iFlags, ...) {
  using Open = int(const char*, int, mode_t);
  static const auto pfnReal = Real(static_cast<Open*>(nullptr), "open");
  mode_t uMode = 0;
  if ((iFlags & O_CREAT) != 0) {
    va_list args;
    va_start(args, iFlags);
    uMode = va_arg(args, mode_t);
    va_end(args);
  }
  if ((iFlags & O_CLOEXEC) == 0) ++stand_ins::inheritable_opens;
  return Perform(Call::Open, -1, [=] { return pfnReal(pszPath, iFlags, uMode); });
}

// ---- Names --------------------------------------------------------------------------------------

STAND_IN int access(const char* pszPath, int iMode) noexcept {
  static const auto pfnReal = Real(&access, "access");
  return Perform(Call::Access, -1, [=] { return pfnReal(pszPath, iMode); });
}

STAND_IN int stat(const char* pszPath, struct stat* pStatus) noexcept {
  static const auto pfnReal = Real<int(const char*, struct stat*)>(&stat, "stat");
  return Perform(Call::Stat, -1, [=] { return pfnReal(pszPath, pStatus); });
}

STAND_IN int renameat2(int hFrom, const char* pszFrom, int hTo, const char* pszTo,
                       unsigned int uFlags) noexcept {
  static const auto pfnReal = Real(&renameat2, "renameat2");
  return Perform(Call::Rename, -1, [=] { return pfnReal(hFrom, pszFrom, hTo, pszTo, uFlags); });
}

STAND_IN int rename(const char* pszFrom, const char* pszTo) noexcept {
  static const auto pfnReal = Real(&::rename, "rename");
  return Perform(Call::PlainRename, -1, [=] { return pfnReal(pszFrom, pszTo); });
}

STAND_IN int unlink(const char* pszPath) noexcept {
  static const auto pfnReal = Real(&unlink, "unlink");
  return Perform(Call::Unlink, -1, [=] { return pfnReal(pszPath); });
}

STAND_IN DIR* opendir(const char* pszPath) {
  static const auto pfnReal = Real(&opendir, "opendir");
  return Perform(Call::OpenDir, static_cast<DIR*>(nullptr), [=] { return pfnReal(pszPath); });
}

STAND_IN dirent* readdir(DIR* pDirectory) {
  static const auto pfnReal = Real(&readdir, "readdir");
  return Perform(Call::ReadDir, static_cast<dirent*>(nullptr), [=] { return pfnReal(pDirectory); });
}

// ---- Time ---------------------------------------------------------------------------------------

STAND_IN int gettimeofday(timeval* pNow, void* pZone) noexcept {
  static const auto pfnReal = Real(&gettimeofday, "gettimeofday");
  return Perform(Call::Time, -1, [=] {
    const time_t tNow = stand_ins::clock;
    if (tNow == 0) return pfnReal(pNow, pZone);
    *pNow = {tNow, 0};
    return 0;
  });
}

STAND_IN time_t time(time_t* pResult) noexcept {
  timeval now;
  const time_t tNow = gettimeofday(&now, nullptr) == 0 ? now.tv_sec : -1;
  if (pResult != nullptr) *pResult = tNow;
  return tNow;
}

}  // extern "C"
