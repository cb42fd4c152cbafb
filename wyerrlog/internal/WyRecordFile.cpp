// The common parts: options, days, and the backups that a rollover finds and deletes.

#include "wyerrlog/internal/WyRecordFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include "wyerrlog/WyLogOutput.h"
#include "wyerrlog/internal/WyTimeConversion.h"

namespace {

constexpr int SizeLimitMB = 4096;  // as of CWyFileOutput
constexpr time_t DaySeconds = 86400;

bool IsLimited(const WyFileOptions& options) {
  return options.mode >= WyFileMode::AppendRollBySize;
}

}  // namespace

bool WyAreValid(const WyFileOptions& options) {
  const bool bRollsOver = options.mode >= WyFileMode::RollAtOpen || options.daily;
  return !options.path.empty() && options.mode >= WyFileMode::Overwrite &&
         options.mode <= WyFileMode::RollAtOpenAndBySize && options.maxSizeMB < SizeLimitMB &&
         (IsLimited(options) ? options.maxSizeMB > 0 : options.maxSizeMB == 0) &&
         options.backups >= 0 && options.maxAgeDays >= 0 &&
         (bRollsOver || (options.backups == 0 && options.maxAgeDays == 0)) &&
         (options.permissions & ~0777u) == 0 && (options.permissions & 0200) != 0 &&
         !(options.shared && options.mode == WyFileMode::Overwrite);
}

bool CWyRecordFile::Flush() {
  const CWyErrLogAutoCS lock(m_cs);
  return fdatasync(m_hFile) == 0;
}

bool CWyRecordFile::Close() {
  const CWyErrLogAutoCS lock(m_cs);
  if (m_hFile < 0) return false;
  close(m_hFile);
  m_hFile = -1;
  return true;
}

bool CWyRecordFile::IsSizeLimited() const { return IsLimited(m_options); }

bool CWyRecordFile::IsRolledOverAtOpen() const {
  return m_options.mode == WyFileMode::RollAtOpen ||
         m_options.mode == WyFileMode::RollAtOpenAndBySize;
}

int CWyRecordFile::DayOf(time_t tSeconds) {
  tm time;
  return WyBreakDownTime(tSeconds, true, time) ? (time.tm_year + 1900) * 1000 + time.tm_yday : 0;
}

bool CWyRecordFile::EndsWithNewline(const std::string& strPath) {
  const int hFile = WyOpen(strPath.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY, 0);
  char cLast = '\n';
  struct stat status;
  if (hFile < 0) return true;
  const bool bRead = fstat(hFile, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
                     pread(hFile, &cLast, 1, status.st_size - 1) == 1;
  close(hFile);
  return !bRead || cLast == '\n';
}

CWyBackups CWyRecordFile::BackupsOf(const std::string& strPath) const {
  const std::string_view strView(strPath);
  const size_t uSlash = strView.rfind('/');
  return {strView.substr(0, uSlash), strView.substr(uSlash + 1)};
}

void CWyRecordFile::DeleteAged(const std::string& strPath) const {
  if (m_options.maxAgeDays == 0) return;
  tm oldest;
  const time_t tNow = time(nullptr);
  const time_t tOldest = tNow - m_options.maxAgeDays * DaySeconds;
  CWyBackups backups = BackupsOf(strPath);
  if (tNow == NoTime || !backups.Read() || !WyBreakDownTime(tOldest, true, oldest)) return;
  backups.DeleteOlderThan(CWyBackupName::MakeStamp(oldest));
}

// Surplus backups go first, so that there are never more than the number to keep.
bool CWyRecordFile::MakeRoom(const std::string& strPath, CWyBackups& backups,
                             std::string& strStamp) const {
  DeleteAged(strPath);
  // Without the time the newest backup would get the stamp of the oldest.
  const time_t tNow = time(nullptr);
  tm now;
  if (tNow == NoTime || !backups.Read() || !WyBreakDownTime(tNow, true, now)) return false;
  const auto uBackups = static_cast<size_t>(m_options.backups);
  if (uBackups != 0 && !backups.DeleteAllBut(uBackups - 1)) return false;
  strStamp = CWyBackupName::MakeStamp(now);
  return true;
}
