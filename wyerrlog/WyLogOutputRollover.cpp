// Rolling a log file over: the backups beyond the number to keep are deleted, the file becomes the
// newest backup, and a new file begins with the headers. The caller is alone with the output: it is
// being opened, or its guard is held for writing.

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

// The file is closed first, so that every way out but success leaves the output closed. An
// exception of the texts and lists ends here.
bool CWyFileOutput::Rollover() {
  CloseFile();
  if (m_pszFileName == nullptr || !IsMovable()) return false;
  try {
    return RolloverClosedFile();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// Directories, pipes and devices stay where they are. A name whose status cannot be read passes:
// the rename decides.
bool CWyFileOutput::IsMovable() const {
  struct stat status;
  return stat(m_pszFileName, &status) != 0 || S_ISREG(status.st_mode);
}

bool CWyFileOutput::RolloverClosedFile() {
  const std::string_view strPath(m_pszFileName);
  const size_t uSlash = strPath.rfind('/');
  // The contract: a name without a directory is not rolled over.
  if (uSlash == std::string_view::npos) return false;

  CWyBackups backups(strPath.substr(0, uSlash), strPath.substr(uSlash + 1));
  if (!backups.Read()) return false;
  // Deleted before the file is renamed, so that there are never more than that; 0 keeps all.
  const auto uMaxBackups = static_cast<size_t>(m_iMaxBackups);
  if (uMaxBackups != 0 && !backups.DeleteAllBut(uMaxBackups - 1)) return false;

  // Local time always: the stamp is for administrators, whatever time base the messages have.
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

// Headers that cannot be written cost nothing but themselves. The flag is cleared last: from then
// on writers of modes 0 to 2 use the new descriptor without a lock.
bool CWyFileOutput::StartNewFile() {
  const bool bOpen = OpenFile(0);
  if (bOpen) LogHeaders();
  m_bRolloverRetry.store(false, std::memory_order_release);
  return bOpen;
}

// Messages keep going to the old file until the next attempt. Without the file the descriptor is
// AwaitsRetry, not -1, which is that of an output that Close has closed and no attempt opens again.
bool CWyFileOutput::ContinueOldFile() {
  m_tRolloverFailed = time(nullptr);
  m_bRolloverRetry.store(true, std::memory_order_release);
  if (OpenFile(2)) return true;
  m_hFile = AwaitsRetry;
  return false;
}
