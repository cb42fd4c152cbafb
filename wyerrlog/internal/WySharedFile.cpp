// One log file, written and rolled over by many processes. No record waits for a lock, and no
// process can keep another from writing; the file system is the only shared state.
//
// Writing. A record is one write(2) with O_APPEND, which the system keeps whole and in order. The
// status of the file after it shows that the file has a name, and how full it is. Whether it still
// has the log's name is asked once in a tick of the kernel's clock, a few milliseconds, and before
// each record that finds it full or of another day. So:
//
//   (1) When Log has returned true the record is in the file of the log's name, or in the backup
//       that this file has become since the last look at the name. One in a file that was deleted
//       in between is written again: it is nowhere else.
//   (2) Each thread's records are in order over the files: the name never goes back to a file that
//       it has left.
//
// Rolling over. The process that finds the file full creates the next one, complete with owner,
// permissions and headers, under the name of the backup, and exchanges the two names in one step
// (renameat2(2)). It holds a lock on the file ".NAME.lock" meanwhile, which the kernel releases if
// the process dies:
//
//   (3) The log's name exists at every moment, and each file is rolled over once.
//   (4) A process that is killed leaves at most a file without records under the name of a backup,
//       which the next rollover deletes (DeleteLeftOver).
//
// Torn records. A write that a SIGKILL cuts short ends at a multiple of a page. Before a record is
// written to a file of such a size, the file's end is read, and the record begins on a line of its
// own if the last one has no end. If the tear comes between this look and the write, the record is
// found to begin at a multiple of a page, and the last byte of the torn piece becomes a newline: no
// caller was told that it is written. A record that the disk cuts short ends its own piece so.

#include "wyerrlog/internal/WySharedFile.h"

#include <fcntl.h>
#include <linux/falloc.h>
#include <sys/sysmacros.h>
#include <sys/uio.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "wyerrlog/internal/WyForkHandling.h"
#include "wyerrlog/internal/WyRecordWriter.h"

namespace {

// The room for records of other processes that are under way when one finds the file not full yet:
// a sixteenth of the limit, and 1 MiB at most.
constexpr off_t MaxReserve = 1 << 20;
constexpr off_t ReserveShare = 16;
constexpr off_t PageSize = 4096;

// The time of the kernel's last tick, in nanoseconds; read without a system call.
int64_t CoarseTime() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return now.tv_sec * int64_t{1000000000} + now.tv_nsec;
}

bool IsAtPage(off_t lOffset) { return lOffset > 0 && lOffset % PageSize == 0; }

// Opens an open file once more, for reading: whatever its name is now.
int OpenAgain(int hFile, int iFlags) {
  char szPath[32];
  std::snprintf(szPath, sizeof szPath, "/proc/self/fd/%d", hFile);
  return WyOpen(szPath, iFlags, 0);
}

// Whether the file has this text at this place.
bool HasText(int hFile, off_t lStart, std::string_view strText) {
  char szPart[PageSize];
  while (!strText.empty()) {
    const size_t uPart = std::min(strText.size(), sizeof szPart);
    if (pread(hFile, szPart, uPart, lStart) != static_cast<ssize_t>(uPart)) return false;
    if (strText.substr(0, uPart) != std::string_view(szPart, uPart)) return false;
    lStart += static_cast<off_t>(uPart);
    strText.remove_prefix(uPart);
  }
  return true;
}

// Replaces the byte before an offset by a newline.
bool EndLineBefore(int hFile, off_t lOffset) {
  char cLast = '\n';
  return pread(hFile, &cLast, 1, lOffset - 1) == 1 &&
         (cLast == '\n' || pwrite(hFile, "\n", 1, lOffset - 1) == 1);
}

}  // namespace

// ---- Writing ------------------------------------------------------------------------------------

bool CWySharedFile::Log(std::string_view strText) {
  const CWyErrLogAutoCS lock(m_cs);
  if (m_hFile < 0) {
    errno = EBADF;
    return false;
  }
  for (int i = 0; i < MaxAttempts; ++i) {
    if (!FindFile(strText.size()) || !WriteWhole(strText)) return false;
    if (IsKept(strText)) return true;
  }
  errno = ENOENT;
  return false;
}

// Makes the open file the one that the record belongs into; after a fork with a descriptor that no
// other process has. If the system does not let it, the file at hand goes on: false only if that is
// deleted and no other can be opened.
bool CWySharedFile::FindFile(size_t uLength) {
  const int64_t iTick = CoarseTime();
  const bool bForked = m_uForks != WyForkCount();
  if (iTick == m_iTick && iTick != 0 && !bForked && !IsDue(uLength)) return true;
  if (bForked) {
    m_uForks = WyForkCount();
    static_cast<void>(OpenFile());
  }
  for (int i = 0; i < MaxAttempts; ++i) {
    if (!ReadStatus(AT_FDCWD, m_strPath.c_str()) || !IsOpenFile(m_latest)) {
      if (OpenFile()) continue;
      const int iErrno = errno;
      const bool bGoesOn = HasName();
      errno = iErrno;
      return bGoesOn;
    }
    m_iTick = iTick;
    if (!IsDue(uLength)) return true;
    if (!RollOver()) {
      m_tRetry = time(nullptr) + RetrySeconds;
      return true;
    }
  }
  return true;
}

bool CWySharedFile::IsOpenFile(const struct statx& status) const {
  return status.stx_ino == m_status.st_ino &&
         makedev(status.stx_dev_major, status.stx_dev_minor) == m_status.st_dev;
}

// A file without records is never due: it takes a record of any length, and is of any day.
bool CWySharedFile::IsDue(size_t uLength) const {
  if (m_latest.stx_size <= m_strHeaders.size()) return false;
  const off_t lReserve = std::min(SizeLimit() / ReserveShare, MaxReserve);
  const bool bFull = IsSizeLimited() &&
                     m_latest.stx_size + uLength >= static_cast<uint64_t>(SizeLimit() - lReserve);
  return (bFull || (m_options.daily && IsNewDay())) && time(nullptr) >= m_tRetry;
}

// The day of a file is that of its last record, whichever process has written it.
bool CWySharedFile::IsNewDay() const {
  const time_t tLast = m_latest.stx_mtime.tv_sec;
  const time_t tNow = time(nullptr);
  if (tNow == NoTime || tNow / QuarterHour == tLast / QuarterHour) return false;
  const int iToday = DayOf(tNow);
  return iToday != 0 && iToday != DayOf(tLast);
}

// What is cut short is not continued: another process's record may be behind it by now.
bool CWySharedFile::WriteWhole(std::string_view strText) {
  if (strText.empty()) return true;
  const auto lSize = static_cast<off_t>(m_latest.stx_size);
  const bool bNewLine = (m_bSuspect || IsAtPage(lSize)) && IsTornAt(lSize);
  m_bSuspect = false;
  char cNewline = '\n';
  const iovec aParts[] = {{&cNewline, 1}, {const_cast<char*>(strText.data()), strText.size()}};
  const size_t uWhole = strText.size() + (bNewLine ? 1 : 0);
  ssize_t lWritten;
  do {
    lWritten =
        CWyRecordWriter::WritePlainly(m_hFile, bNewLine ? aParts : aParts + 1, bNewLine ? 2 : 1);
  } while (lWritten < 0 && errno == EINTR);
  if (lWritten < 0) return false;
  if (static_cast<size_t>(lWritten) == uWhole) return true;
  const auto uWritten = static_cast<size_t>(lWritten);
  const off_t lEnd = lseek(m_hFile, 0, SEEK_CUR);
  m_bSuspect = bNewLine || !MendTorn(lEnd, strText.substr(0, uWritten), true);
  m_iTick = 0;
  errno = ENOSPC;
  return false;
}

// Whether the file with the record has a name. If other records have come meanwhile, the one before
// this may be torn. The descriptor's offset is the end of this record: no other process moves it.
bool CWySharedFile::IsKept(std::string_view strText) {
  const uint64_t uExpected = m_latest.stx_size + strText.size();
  if (!HasName()) {
    m_iTick = 0;
    return false;
  }
  if (m_latest.stx_size == uExpected) return true;
  const off_t lEnd = lseek(m_hFile, 0, SEEK_CUR);
  if (IsAtPage(lEnd - static_cast<off_t>(strText.size()))) MendTorn(lEnd, strText, false);
  return true;
}

// Whether the record that ends at a size of the file has no end, and is the last one. The empty
// allocation waits for a record that is being written: half of it would look torn.
bool CWySharedFile::IsTornAt(off_t lSize) const {
  struct stat status;
  static_cast<void>(fallocate(m_hFile, FALLOC_FL_KEEP_SIZE, 0, 1));
  if (fstat(m_hFile, &status) != 0 || status.st_size != lSize || lSize == 0) return false;
  const int hFile = OpenAgain(m_hFile, O_RDONLY);
  if (hFile < 0) return false;
  char cLast;  // at that size: the next record may be half written by now
  const bool bTorn = pread(hFile, &cLast, 1, lSize - 1) == 1 && cLast != '\n';
  close(hFile);
  return bTorn;
}

// Ends the line of a torn record: of the text that ends at `lEnd`, or of what precedes it. Nothing
// changes unless the text is there: a process that was forked without the library's knowledge moves
// the descriptor's offset too. Returns false if it could not be done.
bool CWySharedFile::MendTorn(off_t lEnd, std::string_view strText, bool bIsTorn) const {
  const off_t lStart = lEnd - static_cast<off_t>(strText.size());
  if (!bIsTorn && !strText.ends_with('\n')) return true;
  const int hFile = OpenAgain(m_hFile, O_RDWR);
  if (hFile < 0) return false;
  const bool bMended =
      HasText(hFile, lStart, strText) && EndLineBefore(hFile, bIsTorn ? lEnd : lStart);
  close(hFile);
  return bMended;
}

bool CWySharedFile::HasName() { return !ReadStatus(m_hFile, "") || m_latest.stx_nlink > 0; }

// Without times unless they are needed: a write after a question for them has to store a new one at
// once, which costs as much as the write.
bool CWySharedFile::ReadStatus(int hFile, const char* pszPath) {
  const unsigned int uTimes = m_options.daily ? STATX_MTIME : 0;
  struct statx status;
  if (statx(hFile, pszPath, AT_EMPTY_PATH | AT_STATX_DONT_SYNC,
            STATX_INO | STATX_NLINK | STATX_SIZE | uTimes, &status) != 0) {
    return false;
  }
  m_latest = status;
  return true;
}
