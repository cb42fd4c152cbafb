// Opening and rolling over the file of many processes; the head of WySharedFile.cpp has the
// invariants. Whatever fails, the file at hand stays open.

#include <fcntl.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <new>

#include "wyerrlog/internal/WyForkHandling.h"
#include "wyerrlog/internal/WyRecordWriter.h"
#include "wyerrlog/internal/WySharedFile.h"

namespace {

// A rollover takes less than a millisecond, and more in a directory with thousands of backups.
constexpr int LockAttempts = 1000;
constexpr timespec LockInterval = {0, 1000000};

class Descriptor {
 public:
  explicit Descriptor(int hFile) : m_hFile(hFile) {}
  ~Descriptor() {
    if (m_hFile >= 0) close(m_hFile);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return m_hFile; }

 private:
  int m_hFile;
};

// Closes a descriptor on the way out of a failure, whose reason stays in errno.
bool CloseAndFail(int hFile) {
  const int iErrno = errno;
  close(hFile);
  errno = iErrno;
  return false;
}

// The path from the root; empty, with errno set, if there is no working directory.
std::string Absolute(const std::string& strPath) {
  if (strPath.starts_with('/')) return strPath;
  const std::unique_ptr<char, void (*)(void*)> pDirectory(getcwd(nullptr, 0), std::free);
  return pDirectory == nullptr ? std::string() : pDirectory.get() + ("/" + strPath);
}

}  // namespace

// ---- Opening ------------------------------------------------------------------------------------

bool CWySharedFile::Open() {
  const CWyErrLogAutoCS lock(m_cs);
  errno = m_hFile >= 0 ? EBUSY : EINVAL;
  if (m_hFile >= 0 || !WyAreValid(m_options)) return false;
  try {
    m_strPath = Absolute(m_options.path);
    if (m_strPath.empty() || !OpenFile()) return false;
    m_uForks = WyForkCount();
    m_bSuspect = m_status.st_size > 0;
    DeleteAged(m_strPath);
    if (!IsRolledOverAtOpen() || m_status.st_size == 0) return true;
    if (RollOver() && OpenFile()) return true;
    const int hFile = m_hFile;
    m_hFile = -1;
    return CloseAndFail(hFile);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
}

// Opens the file that has the name, or creates one. On failure the open one stays.
bool CWySharedFile::OpenFile() {
  for (int i = 0; i < MaxAttempts; ++i) {
    const int hFile = WyOpen(m_strPath.c_str(), OpenFlags(), 0);
    if (hFile >= 0) return Adopt(hFile);
    if (errno != ENOENT) return false;
    if (!Publish() && errno != EEXIST) return false;
  }
  return false;
}

// O_NONBLOCK and O_NOCTTY are for the opening: it neither waits for a pipe's reader nor takes a
// terminal. O_NOFOLLOW: a process with more rights opens the file again and again in a folder that
// the workers write to, and must not be led to a file of the system.
int CWySharedFile::OpenFlags() const {
  const int iSynchronous = m_options.synchronous ? O_DSYNC : 0;
  return O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | iSynchronous;
}

// Creates the file without a name, completes it, and gives it the name unless another process was
// first (EEXIST). The caller opens it by its name: for /proc the descriptor here stays one of a
// deleted file. Without such files (O_TMPFILE), or without /proc, it is created under its name:
// then another process's record may precede the headers.
bool CWySharedFile::Publish() {
  const std::string strDirectory = m_strPath.substr(0, m_strPath.rfind('/') + 1);
  const auto iPermissions = static_cast<int>(Permissions());
  {
    const Descriptor file(WyOpen(strDirectory.c_str(), OpenFlags() | O_TMPFILE, iPermissions));
    char szPath[32];
    std::snprintf(szPath, sizeof szPath, "/proc/self/fd/%d", file.Get());
    if (file.Get() >= 0 && Prepare(file.Get())) {
      if (linkat(AT_FDCWD, szPath, AT_FDCWD, m_strPath.c_str(), AT_SYMLINK_FOLLOW) == 0)
        return true;
      if (errno == EEXIST) return false;
    }
  }
  const Descriptor file(WyOpen(m_strPath.c_str(), OpenFlags() | O_CREAT | O_EXCL, iPermissions));
  if (file.Get() < 0) return false;
  static_cast<void>(Prepare(file.Get()));
  return true;
}

// The descriptor takes the place of the open one, which is closed; on failure it is closed itself.
bool CWySharedFile::Adopt(int hFile) {
  struct stat status;
  const bool bRead = fstat(hFile, &status) == 0;
  if (bRead && !S_ISREG(status.st_mode)) errno = ENOTSUP;
  if (!bRead || !S_ISREG(status.st_mode) || fcntl(hFile, F_SETFL, O_APPEND) != 0) {
    return CloseAndFail(hFile);
  }
  if (m_hFile >= 0) close(m_hFile);
  m_hFile = hFile;
  m_status = status;
  m_iTick = 0;
  return true;
}

unsigned int CWySharedFile::Permissions() const {
  return m_hFile >= 0 ? m_status.st_mode & 0777 : m_options.permissions;
}

// Completes a new file: its owner, and the headers.
bool CWySharedFile::Prepare(int hFile) const {
  if (m_hFile >= 0 && !Own(hFile)) return false;
  if (m_strHeaders.empty()) return true;
  CWyRecordWriter writer;
  return writer.Write(hFile, {}, m_strHeaders);
}

// Gives a new file owner, group and permissions of the open one, whatever the user and the umask of
// the process that creates it, so that all processes can go on. What the system refuses stays.
bool CWySharedFile::Own(int hFile) const {
  constexpr auto NoUser = static_cast<uid_t>(-1);
  if (fchown(hFile, m_status.st_uid, m_status.st_gid) != 0 &&
      fchown(hFile, NoUser, m_status.st_gid) != 0) {
    errno = 0;
  }
  return fchmod(hFile, Permissions()) == 0;
}

// ---- Rolling over -------------------------------------------------------------------------------

// Returns true if the name is to be looked at again: this process has rolled the file over, or
// another one has.
bool CWySharedFile::RollOver() {
  try {
    const Descriptor turn(WaitForTurn());
    if (turn.Get() < 0) return !IsNamed(m_strPath, m_status);
    if (!IsNamed(m_strPath, m_status)) return true;
    DeleteLeftOver();
    return Exchange();
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
}

// Waits until this process alone may move the log's name. Returns a descriptor that holds the right
// until it is closed; -1 if the file is no longer the one to roll over, if there is no lock, and if
// the process that has it does not go on.
int CWySharedFile::WaitForTurn() const {
  struct flock whole = {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  const std::string strLock = LockFile();
  for (int i = 0; i < LockAttempts; ++i) {
    const int hLock = OpenLockFile(strLock);
    struct stat status;
    if (hLock < 0) return -1;
    const bool bTaken = fcntl(hLock, F_OFD_SETLK, &whole) == 0;
    const bool bBusy = !bTaken && (errno == EAGAIN || errno == EACCES || errno == EINTR);
    // One that was deleted meanwhile excludes no process that comes later.
    if (bTaken && fstat(hLock, &status) == 0 && IsNamed(strLock, status)) return hLock;
    CloseAndFail(hLock);
    if ((!bTaken && !bBusy) || !IsNamed(m_strPath, m_status)) return -1;
    if (bBusy) nanosleep(&LockInterval, nullptr);
  }
  errno = EBUSY;
  return -1;
}

// "/var/log/agent/.audit.log.lock"
std::string CWySharedFile::LockFile() const {
  const size_t uName = m_strPath.rfind('/') + 1;
  return m_strPath.substr(0, uName) + '.' + m_strPath.substr(uName) + ".lock";
}

// Creates the lock file for the users who may write to the log.
int CWySharedFile::OpenLockFile(const std::string& strLock) const {
  constexpr int Flags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  const int hLock = WyOpen(strLock.c_str(), Flags, 0);
  if (hLock >= 0 || errno != ENOENT) return hLock;
  const auto iPermissions = static_cast<int>(Permissions());
  const int hNew = WyOpen(strLock.c_str(), Flags | O_CREAT | O_EXCL, iPermissions);
  if (hNew < 0) return errno == EEXIST ? WyOpen(strLock.c_str(), Flags, 0) : -1;
  static_cast<void>(Own(hNew));
  return hNew;
}

bool CWySharedFile::IsNamed(const std::string& strPath, const struct stat& file) {
  struct stat named;
  return stat(strPath.c_str(), &named) == 0 && named.st_dev == file.st_dev &&
         named.st_ino == file.st_ino;
}

// A file that has become a backup has records. What a killed process has created has a part of the
// headers at most.
void CWySharedFile::DeleteLeftOver() const {
  CWyBackups backups = BackupsOf(m_strPath);
  if (!backups.Read()) return;
  const std::string strNewest = backups.Newest();
  if (strNewest.empty()) return;
  const Descriptor file(WyOpen(strNewest.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY, 0));
  std::string strText(m_strHeaders.size() + 1, '\0');
  const ssize_t lRead = pread(file.Get(), strText.data(), strText.size(), 0);
  if (lRead < 0) return;
  strText.resize(static_cast<size_t>(lRead));
  if (m_strHeaders.starts_with(strText)) WyUnlink(strNewest.c_str());
}

// Creates the next file under the name of the next backup. Returns its descriptor, or -1.
int CWySharedFile::CreateNext(std::string& strNext) const {
  for (int i = 0; i < MaxAttempts; ++i) {
    CWyBackups backups = BackupsOf(m_strPath);
    std::string strStamp;
    if (!MakeRoom(m_strPath, backups, strStamp)) return -1;
    strNext = backups.Next(strStamp);
    const int hFile =
        WyOpen(strNext.c_str(), OpenFlags() | O_CREAT | O_EXCL, static_cast<int>(Permissions()));
    if (hFile >= 0 || errno != EEXIST) return hFile;
  }
  return -1;
}

// Where names cannot be exchanged the log's name is free for a moment; the next record, of
// whichever process, creates the file.
bool CWySharedFile::Exchange() {
  std::string strNext;
  const int hFile = CreateNext(strNext);
  if (hFile < 0) return false;
  if (Prepare(hFile) &&
      renameat2(AT_FDCWD, strNext.c_str(), AT_FDCWD, m_strPath.c_str(), RENAME_EXCHANGE) == 0) {
    return Adopt(hFile);
  }
  CloseAndFail(hFile);
  const int iErrno = errno;
  WyUnlink(strNext.c_str());
  errno = iErrno;
  if (iErrno == ENOENT) return true;  // moved away from outside
  if (iErrno != EINVAL && iErrno != ENOSYS && iErrno != EOPNOTSUPP) return false;
  return WyRename(m_strPath.c_str(), strNext.c_str()) == 0;
}
