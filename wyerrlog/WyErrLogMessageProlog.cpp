// The prolog of an error-log line, and ids and times as texts for buffers of the host. Most of a
// prolog is a copy of the thread's stamp, which changes once a second; only the place of the call
// is new in each record.

#include <cstring>
#include <ctime>
#include <string_view>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/internal/WyTextBuffer.h"
#include "wyerrlog/internal/WyTextPieces.h"
#include "wyerrlog/internal/WyThreadStamp.h"
#include "wyerrlog/internal/WyTimeText.h"

namespace {

// The contract's sizes. A smaller buffer is refused whatever its text would be, so that a program
// fails at once and not when its process id has grown.
constexpr int SmallestPidBuffer = 10;
constexpr int SmallestTidBuffer = 15;
constexpr int SmallestTimeBuffer = 25;  // "Mon Nov 16 2026 17:16:13"

// All or nothing: a process id that is cut is another process's.
bool Copy(std::string_view text, char* pszBuffer, int iSize) {
  if (text.size() >= static_cast<std::size_t>(iSize)) return false;
  pszBuffer[text.copy(pszBuffer, text.size())] = '\0';
  return true;
}

// Requires: the year has four digits, so that every text fits into the smallest buffer.
void CopyTime(const CWyThreadStamp& stamp, int iForm, char* psz) {
  const std::string_view text = iForm == 0                 ? stamp.Date()
                                : iForm == 1 || iForm == 2 ? stamp.TimeOfDay()
                                                           : stamp.DateTime();
  psz = WyCopyText(psz, text.data(), text.size());
  if (iForm == 2) psz = WyAppendMilliseconds(psz, stamp.Milliseconds());
  *psz = '\0';
}

}  // namespace

bool CWyErrLogMessage::GetPid(char* pszBuffer, int iSize) {
  if (pszBuffer == nullptr || iSize < SmallestPidBuffer) return false;
  return Copy(CWyThreadStamp::OfThisThread().Pid(), pszBuffer, iSize);
}

bool CWyErrLogMessage::GetTid(char* pszBuffer, int iSize) {
  if (pszBuffer == nullptr || iSize < SmallestTidBuffer) return false;
  return Copy(CWyThreadStamp::OfThisThread().Tid(), pszBuffer, iSize);
}

bool CWyErrLogMessage::GetTime(int iForm, char* pszBuffer, bool bLocal, int iSize) {
  if (pszBuffer == nullptr || iSize < SmallestTimeBuffer) return false;
  CWyThreadStamp& stamp = CWyThreadStamp::OfThisThread();
  if (stamp.RefreshUnlessOther(bLocal)) {
    CopyTime(stamp, iForm, pszBuffer);
    return true;
  }
  tm time;
  long lMilliseconds = 0;
  if (!WyErrLogGetCurrentTime(bLocal, time, lMilliseconds)) return false;
  // Dates may be longer than usual (a year of five digits), hence their size; times of day may not.
  switch (iForm) {
    case 0:
      return WyWriteDate(pszBuffer, static_cast<std::size_t>(iSize), time);
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
  return WyWriteDateTime(pszBuffer, static_cast<std::size_t>(iSize), *pTime);
}

// The result is a part of the argument: nothing is copied. A path that ends in "/" has an empty
// file part.
const char* CWyErrLogMessage::PathnameFindFilePart(const char* pszPath) {
  const char* const pszSlash = strrchr(pszPath, '/');
  return pszSlash != nullptr ? pszSlash + 1 : pszPath;
}

// Begins the text, and returns its end, with room for `uMore` bytes; null if the clock fails or
// memory allocation does. If the clock fails the text ends behind the ids.
[[gnu::always_inline]] inline char* CWyErrLogMessage::BeginProlog(CWyThreadStamp& stamp,
                                                                  std::size_t uMore) {
  m_pBuffer->Clear();
  if (!stamp.Refresh(m_bUseLocalTime)) {
    m_pBuffer->Append(stamp.Prolog());
    return nullptr;
  }
  char* const psz = m_pBuffer->Room(CWyThreadStamp::PrologRoom + uMore);
  return psz != nullptr ? stamp.CopyProlog(psz) : nullptr;
}

// All of it is written into room that is asked for once, and becomes part of the text by its last
// step.
bool CWyErrLogMessage::WriteProlog(std::string_view file, int iLine) {
  char* psz = BeginProlog(CWyThreadStamp::OfThisThread(), file.size() + CWyPlace::LongestLine);
  if (psz == nullptr) return false;
  psz = WyCopyText(psz, file.data(), file.size());
  m_pBuffer->AppendedUpTo(CWyPlace::WriteLine(psz, iLine));
  return true;
}

bool CWyErrLogMessage::FormatLogProlog(const char* pszPath, int iLine, int iType) {
  m_nType = iType;
  CWyThreadStamp& stamp = CWyThreadStamp::OfThisThread();
  const CWyPlace* const pPlace = stamp.FindPlace(pszPath, iLine);
  if (pPlace == nullptr) return WriteProlog(PathnameFindFilePart(pszPath), iLine);
  char* const psz = BeginProlog(stamp, CWyPlace::LongestText);
  if (psz == nullptr) return false;
  m_pBuffer->AppendedUpTo(pPlace->CopyTo(psz));
  return true;
}
