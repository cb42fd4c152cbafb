#include <pthread.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyErrLogTimeText.h"
#include "wyerrlog/thread_utility.h"

namespace {

constexpr int SmallestPidBuffer = 10;
constexpr int SmallestTidBuffer = 15;
constexpr int SmallestTimeBuffer = 25;
constexpr int ScratchSize = 128;

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

bool IsConvertedTime(const tm& time) {
  return IsBetween(time.tm_mday, 1, 31) && IsBetween(time.tm_hour, 0, 23) &&
         IsBetween(time.tm_min, 0, 59) && IsBetween(time.tm_sec, 0, 60) &&
         IsBetween(time.tm_year + 1900, 1000, 9999);
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

// "[pid/tid][", which stays the same as long as the thread is in the same process.
struct ThreadStamp {
  int iPid;
  int iLength;
  char szText[ScratchSize];
};

void Write(ThreadStamp& stamp) {
  char szPid[ScratchSize];
  char szTid[ScratchSize];
  CWyErrLogMessage::GetPid(szPid, ScratchSize);
  CWyErrLogMessage::GetTid(szTid, ScratchSize);
  stamp.iLength = snprintf(stamp.szText, sizeof stamp.szText, "[%s/%s][", szPid, szTid);
  stamp.iPid = WyProcessId();
}

const ThreadStamp& StampOfThisThread() {
  thread_local ThreadStamp t_stamp;
  if (t_stamp.iPid != WyProcessId()) Write(t_stamp);
  return t_stamp;
}

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
      *WyAppendDateText(pszBuffer, time) = '\0';
      return true;
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
  m_pBuffer->clear();
  const ThreadStamp& stamp = StampOfThisThread();
  m_pBuffer->append(stamp.szText, static_cast<std::size_t>(stamp.iLength));
  char szScratch[ScratchSize];
  if (!GetTime(3, szScratch, m_bUseLocalTime, ScratchSize)) return false;
  m_pBuffer->append(szScratch).append("][").append(PathnameFindFilePart(pszPath));
  if (iLine > 0) {
    szScratch[0] = ':';
    WriteNumber(szScratch + 1, ScratchSize - 1, iLine);
    m_pBuffer->append(szScratch);
  }
  m_pBuffer->push_back(']');
  return true;
}
