#include <pthread.h>
#include <sys/time.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyErrLogTimeText.h"
#include "wyerrlog/WyTextBuffer.h"
#include "wyerrlog/thread_utility.h"

namespace {

constexpr int SmallestPidBuffer = 10;
constexpr int SmallestTidBuffer = 15;
constexpr int SmallestTimeBuffer = 25;
constexpr int ScratchSize = 128;
constexpr std::size_t LargestLineSize = 16;  // ":2147483647]"

constexpr const char* arrayWeekDay[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* arrayMonth[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

template <typename Number>
bool WriteNumber(char* pszBuffer, int iSize, Number value) {
  const auto result = std::to_chars(pszBuffer, pszBuffer + iSize - 1, value);
  *result.ptr = '\0';
  return result.ec == std::errc();
}

bool IsBetween(int iValue, int iFirst, int iLast) { return iFirst <= iValue && iValue <= iLast; }

// Whether the pieces have the usual numbers of digits. strftime writes the other ones.
bool IsConvertedTime(const tm& time) {
  return IsBetween(time.tm_mday, 1, 31) && IsBetween(time.tm_hour, 0, 23) &&
         IsBetween(time.tm_min, 0, 59) && IsBetween(time.tm_sec, 0, 60) &&
         IsBetween(time.tm_year, 1000 - 1900, 9999 - 1900);
}

bool WriteDate(char* psz, std::size_t uSize, const tm& time) {
  if (!IsConvertedTime(time)) return strftime(psz, uSize, "%m/%d/%Y", &time) != 0;
  *WyAppendDateText(psz, time) = '\0';
  return true;
}

// "16 2026 17:16:13" and the terminator, at `psz` with room for `uSize` bytes.
bool WriteDayYearAndTime(char* psz, std::size_t uSize, const tm& time) {
  if (!IsConvertedTime(time)) return strftime(psz, uSize, "%d %Y %H:%M:%S", &time) != 0;
  psz = WyAppendTwoDigits(psz, time.tm_mday);
  *psz++ = ' ';
  psz = WyAppendYear(psz, time);
  *psz++ = ' ';
  *WyAppendTimeText(psz, time) = '\0';
  return true;
}

// What the lines of a thread begin with: "[pid/tid][" and "date and time][". The first part stays
// the same as long as the thread is in the same process, the second one for a second.
class ThreadStamp {
 public:
  // Makes it the stamp of this moment. False without the time; then there are the ids alone.
  bool Refresh(bool bLocal) {
    if (m_iPid != WyProcessId()) WriteIds();
    timeval now;
    if (gettimeofday(&now, nullptr) != 0) {
      m_uLength = m_uIdsLength;
      return false;
    }
    return IsOf(now.tv_sec, bLocal) || WriteTime(now.tv_sec, bLocal);
  }

  std::string_view Text() const { return {m_szText, m_uLength}; }

 private:
  bool IsOf(time_t tSeconds, bool bLocal) const {
    return m_tSeconds == tSeconds && m_bLocal == bLocal && m_uLength > m_uIdsLength;
  }

  void WriteIds() {
    char szPid[ScratchSize];
    char szTid[ScratchSize];
    CWyErrLogMessage::GetPid(szPid, ScratchSize);
    CWyErrLogMessage::GetTid(szTid, ScratchSize);
    m_uIdsLength =
        static_cast<std::size_t>(snprintf(m_szText, sizeof m_szText, "[%s/%s][", szPid, szTid));
    m_uLength = m_uIdsLength;
    m_iPid = WyProcessId();
  }

  bool WriteTime(time_t tSeconds, bool bLocal) {
    m_uLength = m_uIdsLength;
    char* const psz = m_szText + m_uIdsLength;
    const auto iRoom = static_cast<int>(sizeof m_szText - m_uIdsLength - 2);
    tm time;
    if (!WyBreakDownTime(tSeconds, bLocal, time)) return false;
    if (!CWyErrLogMessage::GetDateTime(&time, psz, iRoom)) return false;
    m_uLength += strlen(psz);
    m_uLength += std::string_view("][").copy(m_szText + m_uLength, 2);
    m_tSeconds = tSeconds;
    m_bLocal = bLocal;
    return true;
  }

  int m_iPid = 0;
  bool m_bLocal = false;
  time_t m_tSeconds = 0;
  std::size_t m_uIdsLength = 0;
  std::size_t m_uLength = 0;
  char m_szText[ScratchSize]{};
};

constinit thread_local ThreadStamp t_stamp;

// Not inlined: the compiler would find the thread's object anew at each use.
[[gnu::noinline]] ThreadStamp& StampOfThisThread() { return t_stamp; }

}  // namespace

bool CWyErrLogMessage::GetPid(char* pszBuffer, int iSize) {
  if (pszBuffer == nullptr || iSize < SmallestPidBuffer) return false;
  return WriteNumber(pszBuffer, iSize, WyProcessId());
}

bool CWyErrLogMessage::GetTid(char* pszBuffer, int iSize) {
  if (pszBuffer == nullptr || iSize < SmallestTidBuffer) return false;
  return WriteNumber(pszBuffer, iSize, static_cast<unsigned int>(getThreadId(pthread_self())));
}

bool CWyErrLogMessage::GetTime(int iForm, char* pszBuffer, bool bLocal, int iSize) {
  if (pszBuffer == nullptr || iSize < SmallestTimeBuffer) return false;
  tm time;
  long lMilliseconds = 0;
  if (!WyErrLogGetCurrentTime(bLocal, time, lMilliseconds)) return false;
  switch (iForm) {
    case 0:
      return WriteDate(pszBuffer, static_cast<std::size_t>(iSize), time);
    case 1:
      *WyAppendTimeText(pszBuffer, time) = '\0';
      return true;
    case 2:
      *WyAppendMilliseconds(WyAppendTimeText(pszBuffer, time), lMilliseconds) = '\0';
      return true;
    default:
      return GetDateTime(&time, pszBuffer, iSize);
  }
}

bool CWyErrLogMessage::GetDateTime(const tm* pTime, char* pszBuffer, int iSize) {
  if (pTime == nullptr || pszBuffer == nullptr || iSize < SmallestTimeBuffer) return false;
  if (!IsBetween(pTime->tm_wday, 0, 6) || !IsBetween(pTime->tm_mon, 0, 11)) return false;
  char* psz = std::copy_n(arrayWeekDay[pTime->tm_wday], 3, pszBuffer);
  *psz++ = ' ';
  psz = std::copy_n(arrayMonth[pTime->tm_mon], 3, psz);
  *psz++ = ' ';
  return WriteDayYearAndTime(psz, static_cast<std::size_t>(pszBuffer + iSize - psz), *pTime);
}

const char* CWyErrLogMessage::PathnameFindFilePart(const char* pszPath) {
  const char* const pszSlash = strrchr(pszPath, '/');
  return pszSlash != nullptr ? pszSlash + 1 : pszPath;
}

bool CWyErrLogMessage::FormatLogProlog(const char* pszPath, int iLine, int iType) {
  m_nType = iType;
  m_pBuffer->Clear();
  ThreadStamp& stamp = StampOfThisThread();
  if (!stamp.Refresh(m_bUseLocalTime)) {
    m_pBuffer->Append(stamp.Text());
    return false;
  }
  const std::string_view file = PathnameFindFilePart(pszPath);
  char* psz = m_pBuffer->Room(stamp.Text().size() + file.size() + LargestLineSize);
  if (psz == nullptr) return false;
  psz += stamp.Text().copy(psz, stamp.Text().size());
  psz += file.copy(psz, file.size());
  if (iLine > 0) {
    *psz++ = ':';
    psz = std::to_chars(psz, psz + LargestLineSize, iLine).ptr;
  }
  *psz++ = ']';
  m_pBuffer->AppendedUpTo(psz);
  return true;
}
