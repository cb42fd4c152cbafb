// Backups are looked for in the directory at each rollover: other processes and administrators add
// and delete them too, so that a list in memory would soon be wrong.

#include "wyerrlog/internal/WyBackups.h"

#include <dirent.h>
#include <wyi18n/wyi18n.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <memory>

namespace {

// More names than other processes can create between the reading of the directory and the rename.
// The limit ends the loop on a file system that reports every name as existing.
constexpr int MaxAttempts = 10000;

struct DirectoryCloser {
  void operator()(DIR* pDirectory) const { closedir(pDirectory); }
};

using DirectoryPtr = std::unique_ptr<DIR, DirectoryCloser>;

// opendir(3) is open(2), which a signal handler may interrupt.
DirectoryPtr OpenDirectory(const std::string& strPath) {
  DIR* pDirectory;
  do {
    pDirectory = opendir(strPath.c_str());
  } while (pDirectory == nullptr && errno == EINTR);
  return DirectoryPtr(pDirectory);
}

}  // namespace

bool CWyBackups::Read() {
  const DirectoryPtr pDirectory = OpenDirectory(m_strDirectory);
  if (!pDirectory) return false;
  while (const dirent* pEntry = readdir(pDirectory.get())) {
    if (m_naming.Matches(pEntry->d_name)) m_names.emplace_back(pEntry->d_name);
  }
  return true;
}

// Puts only the surplus into order. If one backup cannot be deleted the rollover fails: there are
// never more backups than the retention allows.
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

// One that cannot be deleted is tried again at the next rollover.
void CWyBackups::DeleteOlderThan(const std::string& strStamp) {
  const auto isDeleted = [&](const std::string& strName) {
    return m_naming.Stamp(strName) < strStamp && WyUnlink(Path(strName).c_str()) == 0;
  };
  m_names.erase(std::remove_if(m_names.begin(), m_names.end(), isDeleted), m_names.end());
}

std::string CWyBackups::Newest() const {
  const auto newest =
      std::max_element(m_names.begin(), m_names.end(),
                       [this](const std::string& strFirst, const std::string& strSecond) {
                         return m_naming.IsOlder(strFirst, strSecond);
                       });
  return newest == m_names.end() ? std::string() : Path(*newest);
}

std::string CWyBackups::Next(const std::string& strStamp) const {
  return Path(m_naming.Make(strStamp, FirstFreeNumber(strStamp)));
}

// WyRename never replaces a file, so a name that another process has created since it was tested
// costs one more attempt. Only for the plain name EACCES is Refused, which has the rollover tried
// again later; with a number every error is a failure.
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

// The number above all numbers of the same second, even if a lower one is unused: the highest
// number is the newest backup, and retention deletes by that order.
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
