// Rolling a log file over: the backups beyond the number to keep are deleted, the file becomes the
// newest backup, and a new file begins with the headers.

#include <sys/stat.h>

#include <ctime>
#include <new>
#include <string_view>

#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyLogOutput.h"
#include "wyerrlog/internal/WyBackupName.h"
#include "wyerrlog/internal/WyBackups.h"

bool CWyFileOutput::IsBackedUpFile(const char* pszName, const char* pszBaseName) {
  if (pszName == nullptr || pszBaseName == nullptr) return false;
  return CWyBackupName(pszBaseName).Matches(pszName);
}

bool CWyFileOutput::Rollover() {
  CloseFile();
  if (m_pszFileName == nullptr || !IsMovable()) return false;
  try {
    return RolloverClosedFile();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// Directories, pipes and devices stay where they are. What cannot be looked at is left to the
// renaming to judge.
bool CWyFileOutput::IsMovable() const {
  struct stat status;
  return stat(m_pszFileName, &status) != 0 || S_ISREG(status.st_mode);
}

bool CWyFileOutput::RolloverClosedFile() {
  const std::string_view strPath(m_pszFileName);
  const size_t uSlash = strPath.rfind('/');
  if (uSlash == std::string_view::npos) return false;

  CWyBackups backups(strPath.substr(0, uSlash), strPath.substr(uSlash + 1));
  if (!backups.Read()) return false;
  const auto uMaxBackups = static_cast<size_t>(m_iMaxBackups);
  if (uMaxBackups != 0 && !backups.DeleteAllBut(uMaxBackups - 1)) return false;

  tm now;
  long lMilliseconds = 0;
  if (!WyErrLogGetCurrentTime(true, now, lMilliseconds)) return false;
  switch (backups.Add(m_pszFileName, CWyBackupName::MakeStamp(now))) {
    case CWyBackups::Move::Done:
      return StartNewFile();
    case CWyBackups::Move::Refused:
      return ContinueOldFile();
    default:
      return false;
  }
}

bool CWyFileOutput::StartNewFile() {
  const bool bOpen = OpenFile(0);
  if (bOpen) LogHeaders();
  // Last: from here on writers of modes 0 to 2 use the new descriptor without a lock.
  m_bRolloverRetry.store(false, std::memory_order_release);
  return bOpen;
}

bool CWyFileOutput::ContinueOldFile() {
  m_tRolloverFailed = time(nullptr);
  m_bRolloverRetry.store(true, std::memory_order_release);
  if (OpenFile(2)) return true;
  m_hFile = AwaitsRetry;
  return false;
}
