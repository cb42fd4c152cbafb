// The texts are written one behind the other into the prolog's buffer, and again only when a part
// of them has changed: the ids in a forked child, the time each second. A record then costs a
// reading of the clock and a copy.

#include "wyerrlog/internal/WyThreadStamp.h"

#include <pthread.h>

#include <cstdio>
#include <cstring>

#include "wyerrlog/internal/WyThreadOwned.h"
#include "wyerrlog/internal/WyTimeConversion.h"
#include "wyerrlog/internal/WyTimeText.h"
#include "wyerrlog/thread_utility.h"

namespace {

// Constant-initialized and without a destructor: it needs no test for its first use, and serves
// threads whose other objects are destroyed.
constinit thread_local CWyThreadStamp t_stamp;

}  // namespace

// Not inlined: the compiler would find the thread's object anew at each use, which is a call.
[[gnu::noinline]] CWyThreadStamp& CWyThreadStamp::OfThisThread() { return t_stamp; }

std::string_view CWyThreadStamp::Pid() {
  if (!HasIdsOfThisProcess()) WriteIds();
  return {m_szProlog + 1, m_uPidLength};
}

std::string_view CWyThreadStamp::Tid() {
  if (!HasIdsOfThisProcess()) WriteIds();
  const std::size_t uStart = m_uPidLength + 2;
  return {m_szProlog + uStart, m_uIdsLength - strlen("][") - uStart};
}

// The time behind the ids is gone with them.
void CWyThreadStamp::WriteIds() {
  m_iPid = WyProcessId();
  // The low 32 bits, as the format has them.
  const auto uTid = static_cast<unsigned int>(getThreadId(pthread_self()));
  const int iPidEnd = snprintf(m_szProlog, sizeof m_szProlog, "[%d", m_iPid);
  const int iIdsEnd = snprintf(m_szProlog, sizeof m_szProlog, "[%d/%u][", m_iPid, uTid);
  m_uPidLength = static_cast<std::size_t>(iPidEnd - 1);
  m_uIdsLength = static_cast<std::size_t>(iIdsEnd);
  ForgetTime();
}

// The previous time would be wrong in a record. The prolog ends with the ids until WriteTime writes
// a time again.
bool CWyThreadStamp::ForgetTime() {
  m_uPrologLength = m_uIdsLength;
  m_tSeconds = NoTime;
  return false;
}

// Two time bases in turn would convert the time for each record.
bool CWyThreadStamp::RefreshUnlessOther(bool bLocal) {
  if (m_bLocal != bLocal && m_tSeconds == time(nullptr)) return false;
  return Refresh(bLocal) && m_bUsualYear;
}

// The prolog's length is set last, and m_tSeconds with it: after a failure there is no time, and
// the next record tries again.
bool CWyThreadStamp::WriteTime(time_t tSeconds, bool bLocal) {
  ForgetTime();
  char* const pszDateTime = m_szProlog + m_uIdsLength;
  const std::size_t uRoom = sizeof m_szProlog - m_uIdsLength - strlen("][");
  tm time;
  if (!WyBreakDownTime(tSeconds, bLocal, time)) return false;
  if (!WyWriteDateTime(pszDateTime, uRoom, time)) return false;
  char* const pszEnd = pszDateTime + strlen(pszDateTime);
  memcpy(pszEnd, "][", strlen("]["));
  m_uPrologLength = static_cast<std::size_t>(pszEnd - m_szProlog) + strlen("][");
  m_uDateLength = static_cast<std::size_t>(WyAppendDateText(m_szDate, time) - m_szDate);
  WyAppendTimeText(m_szTime, time);
  m_tSeconds = tSeconds;
  m_bLocal = bLocal;
  m_bUsualYear = 1000 - 1900 <= time.tm_year && time.tm_year <= 9999 - 1900;
  return true;
}

bool CWyThreadStamp::AllocatePlaces() {
  m_pPlaces = CWyThreadOwned<CWyPlaceMemo>::Get();
  if (m_pPlaces == nullptr) return false;
  m_pPlaces->SetUser(m_pPlaces);
  return true;
}
