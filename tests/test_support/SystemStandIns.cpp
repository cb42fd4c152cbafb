#include "test_support/SystemStandIns.h"

#include <dlfcn.h>
#include <sys/time.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
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

}  // namespace stand_ins

STAND_IN int WyRename(const char* pszFrom, const char* pszTo) {
  return (stand_ins::rename ? stand_ins::rename : stand_ins::RealRename)(pszFrom, pszTo);
}

extern "C" {

STAND_IN int gettimeofday(timeval* pNow, void* pZone) noexcept {
  static const auto pfnReal = stand_ins::Real(&gettimeofday, "gettimeofday");
  const time_t tNow = stand_ins::clock;
  if (tNow == 0) return pfnReal(pNow, pZone);
  *pNow = {tNow, 0};
  return 0;
}

STAND_IN time_t time(time_t* pResult) noexcept {
  timeval now;
  gettimeofday(&now, nullptr);
  if (pResult != nullptr) *pResult = now.tv_sec;
  return now.tv_sec;
}

STAND_IN int renameat2(int hFrom, const char* pszFrom, int hTo, const char* pszTo,
                       unsigned int uFlags) noexcept {
  if (stand_ins::renameat2_errno != 0) return stand_ins::Refuse(stand_ins::renameat2_errno);
  return stand_ins::Real(&renameat2, "renameat2")(hFrom, pszFrom, hTo, pszTo, uFlags);
}

STAND_IN int link(const char* pszFrom, const char* pszTo) noexcept {
  if (stand_ins::link_errno != 0) return stand_ins::Refuse(stand_ins::link_errno);
  return stand_ins::Real(&link, "link")(pszFrom, pszTo);
}

}  // extern "C"
