#ifndef WYERRLOG_INTERNAL_WYTHREADSTAMP_H
#define WYERRLOG_INTERNAL_WYTHREADSTAMP_H

// The process id, thread id, date and time of a record, and the place in the source, as texts. Each
// thread caches its own: the ids stay the same until a fork, date and time stay the same for a
// second, so nearly every record copies the texts of the one before.

#include <sys/time.h>

#include <cstring>
#include <ctime>
#include <limits>
#include <string_view>

#include "wyerrlog/internal/WyForkHandling.h"
#include "wyerrlog/internal/WyPlaceMemo.h"

class CWyThreadStamp {
 public:
  static CWyThreadStamp& OfThisThread();

  // Decimal numbers: the id of this process, and the low 32 bits of the thread's id.
  std::string_view Pid();
  std::string_view Tid();

  // Sets date and time to the present moment, in local time or UTC. Returns false if the time
  // cannot be read (gettimeofday(2)) or converted; Prolog then has the ids alone, and the other
  // texts are not valid.
  bool Refresh(bool bLocal) {
    if (!HasIdsOfThisProcess()) WriteIds();
    timeval now;
    if (gettimeofday(&now, nullptr) != 0) return ForgetTime();
    m_lMicroseconds = now.tv_usec;
    return (m_tSeconds == now.tv_sec && m_bLocal == bLocal) || WriteTime(now.tv_sec, bLocal);
  }

  // The same for a caller that needs the texts only if they are at hand: a stamp that has this very
  // second in the other time base stays as it is. Returns false then, and for years that do not
  // have four digits.
  bool RefreshUnlessOther(bool bLocal);

  // "[pid/tid][Mon Nov 16 2026 17:16:13]["; without the time, "[pid/tid][".
  std::string_view Prolog() const { return {m_szProlog, m_uPrologLength}; }
  // Copies Prolog() to `psz` and returns its end. Requires: room for PrologRoom bytes, all of which
  // may be written to.
  static constexpr std::size_t PrologRoom = 104;
  char* CopyProlog(char* psz) const {
    // Prologs have some fifty bytes; a fixed number needs no call.
    constexpr std::size_t Usual = 64;
    std::memcpy(psz, m_szProlog, Usual);
    if (m_uPrologLength > Usual) std::memcpy(psz, m_szProlog, m_uPrologLength);
    return psz + m_uPrologLength;
  }
  // "Mon Nov 16 2026 17:16:13". Requires: Refresh has succeeded.
  std::string_view DateTime() const {
    return {m_szProlog + m_uIdsLength, m_uPrologLength - m_uIdsLength - 2};
  }
  std::string_view Date() const { return {m_szDate, m_uDateLength}; }    // "11/16/2026"
  std::string_view TimeOfDay() const { return {m_szTime, TimeLength}; }  // "17:16:13"
  long Milliseconds() const { return m_lMicroseconds / 1000; }

  // The text of a place in the source. Returns null for one that is too long to be remembered, and
  // if there is no memory.
  const CWyPlace* FindPlace(const char* pszPath, int iLine) {
    if (m_pPlaces == nullptr && !AllocatePlaces()) return nullptr;
    return m_pPlaces->Find(pszPath, iLine);
  }

 private:
  static constexpr std::size_t TimeLength = 8;

  // No time is at hand.
  static constexpr time_t NoTime = std::numeric_limits<time_t>::min();

  // A thread's stamp is copied by a fork and still has the parent's id there; the thread's id
  // stays.
  bool HasIdsOfThisProcess() const { return m_iPid == WyProcessId(); }
  void WriteIds();
  bool ForgetTime();
  bool WriteTime(time_t tSeconds, bool bLocal);
  bool AllocatePlaces();

  int m_iPid = 0;
  bool m_bLocal = false;
  bool m_bUsualYear = false;   // 1000 to 9999
  time_t m_tSeconds = NoTime;  // that the texts are of
  long m_lMicroseconds = 0;
  CWyPlaceMemo* m_pPlaces = nullptr;  // the thread's; null: none yet
  std::size_t m_uPidLength = 0;
  std::size_t m_uIdsLength = 0;
  std::size_t m_uPrologLength = 0;
  std::size_t m_uDateLength = 0;
  char m_szTime[TimeLength]{};
  char m_szDate[24]{};
  char m_szProlog[PrologRoom]{};
};

#endif
