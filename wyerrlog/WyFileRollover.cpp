#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "wyerrlog/WyBackupName.h"
#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyLogOutput.h"

namespace {

constexpr int MaxAttempts = 10000;

struct DirectoryCloser {
  void operator()(DIR* pDirectory) const { closedir(pDirectory); }
};

using DirectoryPtr = std::unique_ptr<DIR, DirectoryCloser>;

DirectoryPtr OpenDirectory(const std::string& strPath) {
  DIR* pDirectory;
  do {
    pDirectory = opendir(strPath.c_str());
  } while (pDirectory == nullptr && errno == EINTR);
  return DirectoryPtr(pDirectory);
}

// The backups of one log file, and the directory they lie in.
class CWyBackups {
 public:
  enum class Move { Done, Refused, Failed };

  CWyBackups(std::string_view strDirectory, std::string_view strFileName)
      : m_strDirectory(strDirectory), m_naming(strFileName) {}

  // Finds the backups. False when the directory cannot be opened.
  bool Read();

  // Deletes the oldest, so that `uCount` are left. False when the system keeps one of them.
  bool DeleteAllBut(size_t uCount);

  // Makes the log file the newest backup, under a name that nothing bears.
  Move Add(const char* pszLogFile, const std::string& strStamp) const;

 private:
  std::string Path(std::string_view strName) const;
  std::string FirstFreeNumber(const std::string& strStamp) const;

  std::string m_strDirectory;
  CWyBackupName m_naming;
  std::vector<std::string> m_names;
};

bool CWyBackups::Read() {
  const DirectoryPtr pDirectory = OpenDirectory(m_strDirectory);
  if (!pDirectory) return false;
  while (const dirent* pEntry = readdir(pDirectory.get())) {
    if (m_naming.Matches(pEntry->d_name)) m_names.emplace_back(pEntry->d_name);
  }
  return true;
}

bool CWyBackups::DeleteAllBut(size_t uCount) {
  if (m_names.size() <= uCount) return true;
  const auto firstKept = std::prev(m_names.end(), static_cast<std::ptrdiff_t>(uCount));
  std::partial_sort(m_names.begin(), firstKept, m_names.end(),
                    [this](const std::string& strFirst, const std::string& strSecond) {
                      return m_naming.IsOlder(strFirst, strSecond);
                    });
  for (auto surplus = m_names.begin(); surplus != firstKept; ++surplus) {
    if (WyUnlink(Path(*surplus).c_str()) != 0) return false;
  }
  m_names.erase(m_names.begin(), firstKept);
  return true;
}

// Each turn that goes on has met one more existing name; nobody makes so many in a moment.
CWyBackups::Move CWyBackups::Add(const char* pszLogFile, const std::string& strStamp) const {
  std::string strNumber = FirstFreeNumber(strStamp);
  for (int i = 0; i < MaxAttempts; ++i, strNumber = CWyBackupName::NextNumber(strNumber)) {
    const std::string strBackup = Path(m_naming.Make(strStamp, strNumber));
    if (WyAccess(strBackup.c_str(), F_OK) == 0) continue;
    if (errno != ENOENT) return Move::Failed;
    if (WyRename(pszLogFile, strBackup.c_str()) == 0) return Move::Done;
    if (errno == EACCES && strNumber.empty()) return Move::Refused;
    if (errno != EEXIST) return Move::Failed;
  }
  return Move::Failed;
}

std::string CWyBackups::Path(std::string_view strName) const {
  return std::string(m_strDirectory).append("/").append(strName);
}

// Above all numbers of the same second, also where a lower one has become free: the highest number
// is the newest backup.
std::string CWyBackups::FirstFreeNumber(const std::string& strStamp) const {
  bool bFirst = true;
  std::string_view strHighest;
  for (const std::string& strName : m_names) {
    if (m_naming.Stamp(strName) != strStamp) continue;
    bFirst = false;
    strHighest = std::max(strHighest, m_naming.Number(strName), CWyBackupName::IsLower);
  }
  return bFirst ? std::string() : CWyBackupName::NextNumber(strHighest);
}

}  // namespace

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
