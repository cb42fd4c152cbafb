// Writing and rolling over. The new file is opened before the old one is closed: whatever fails,
// records go on into the file at hand, and the rollover is tried again later.

#include "wyerrlog/internal/WyAuditFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
#include <new>

#include "wyerrlog/WyLogOutput.h"

namespace {

// What a rollover may move; true also if the path has no status: then the rename decides.
bool IsMovable(const std::string& strPath) {
  struct stat status;
  return stat(strPath.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

WyFileOptions WithDirectory(WyFileOptions options) {
  if (options.path.find('/') == std::string::npos) options.path.insert(0, "./");
  return options;
}

}  // namespace

CWyAuditFile::CWyAuditFile(WyFileOptions options)
    : CWyRecordFile(WithDirectory(std::move(options))) {}

// ---- The operations -----------------------------------------------------------------------------

bool CWyAuditFile::Open() {
  const CWyErrLogAutoCS lock(m_cs);
  errno = m_hFile >= 0 ? EBUSY : EINVAL;
  if (m_hFile >= 0 || !WyAreValid(m_options)) return false;
  try {
    const bool bExists = WyAccess(m_options.path.c_str(), F_OK) == 0 || errno != ENOENT;
    if (bExists && IsRolledOverAtOpen()) {
      errno = ENOTSUP;
      return IsMovable(m_options.path) && MoveAside() && OpenFile(0);
    }
    if (!OpenFile(m_options.mode == WyFileMode::Overwrite ? O_TRUNC : 0)) return false;
    if (!EndsWithNewline(m_options.path)) m_writer.BeginNewLine();
    DeleteAged(m_options.path);
    return true;
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
}

bool CWyAuditFile::Log(std::string_view strText) {
  const CWyErrLogAutoCS lock(m_cs);
  if (m_hFile < 0) {
    errno = EBADF;
    return false;
  }
  if (IsRolloverDue(strText.size()) && !RollOver()) m_tRetry = time(nullptr) + RetrySeconds;
  return m_writer.Write(m_hFile, {}, strText);
}

// ---- Opening ------------------------------------------------------------------------------------

// On success the new descriptor takes the place of the old one, which is closed. O_NONBLOCK and
// O_NOCTTY are for the opening: it neither waits for a pipe's reader nor takes a terminal.
bool CWyAuditFile::OpenFile(int iFlags) {
  iFlags |= O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY;
  if (m_options.synchronous) iFlags |= O_DSYNC;
  const int hFile = WyOpen(m_options.path.c_str(), iFlags, static_cast<int>(m_options.permissions));
  if (hFile < 0) return false;
  if (!AcceptFile(hFile)) {
    const int iErrno = errno;
    close(hFile);
    errno = iErrno;
    return false;
  }
  if (m_hFile >= 0) close(m_hFile);
  m_hFile = hFile;
  return true;
}

// A file that has records is one of the day of its last record.
bool CWyAuditFile::AcceptFile(int hFile) {
  struct stat status;
  if (fstat(hFile, &status) != 0 || fcntl(hFile, F_SETFL, O_APPEND) != 0) return false;
  m_bRegularFile = S_ISREG(status.st_mode);
  if (!m_bRegularFile && !S_ISCHR(status.st_mode)) {
    errno = ENOTSUP;
    return false;
  }
  NoteDay(status.st_size > 0 ? status.st_mtime : time(nullptr));
  return true;
}

// ---- Rolling over -------------------------------------------------------------------------------

bool CWyAuditFile::IsRolloverDue(size_t uLength) {
  const bool bDue = (IsSizeLimited() && IsSizeReached(uLength)) || (m_options.daily && IsNewDay());
  return bDue && m_bRegularFile && time(nullptr) >= m_tRetry;
}

// Without a size nothing is due: the record is worth more than the limit.
bool CWyAuditFile::IsSizeReached(size_t uLength) const {
  const off_t lSize = lseek(m_hFile, 0, SEEK_END);
  return lSize > 0 && static_cast<uint64_t>(lSize) + uLength >= static_cast<uint64_t>(SizeLimit());
}

// An empty file has no records of another day: it becomes one of this day.
bool CWyAuditFile::IsNewDay() {
  const time_t tNow = time(nullptr);
  const bool bLooked = tNow < m_tNextLook && tNow >= m_tNextLook - QuarterHour;
  if (bLooked || tNow == NoTime) return false;
  const int iToday = DayOf(tNow);
  const bool bSame = iToday == m_iDay || iToday == 0;
  if (!bSame && lseek(m_hFile, 0, SEEK_END) != 0) return true;
  NoteDay(tNow);
  return false;
}

void CWyAuditFile::NoteDay(time_t tSeconds) {
  if (!m_options.daily) return;
  const int iDay = DayOf(tSeconds);
  if (iDay != 0) m_iDay = iDay;
  m_tNextLook = (tSeconds / QuarterHour + 1) * QuarterHour;
}

bool CWyAuditFile::RollOver() {
  try {
    if (IsOurs() && !MoveAside()) return false;
    if (!OpenFile(0)) return false;
  } catch (const std::bad_alloc&) {
    return false;
  }
  if (!m_strHeaders.empty()) m_writer.Write(m_hFile, {}, m_strHeaders);
  return true;
}

// Another program may have moved the file already, or an earlier attempt that could not open the
// next one; what has the name then is not to be moved.
bool CWyAuditFile::IsOurs() const {
  struct stat open, named;
  return fstat(m_hFile, &open) != 0 || (stat(m_options.path.c_str(), &named) == 0 &&
                                        open.st_dev == named.st_dev && open.st_ino == named.st_ino);
}

bool CWyAuditFile::MoveAside() {
  CWyBackups backups = BackupsOf(m_options.path);
  std::string strStamp;
  return MakeRoom(m_options.path, backups, strStamp) &&
         backups.Add(m_options.path.c_str(), strStamp) == CWyBackups::Move::Done;
}
