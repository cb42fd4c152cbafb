// Finding the backups of a log with the rule of the library itself.

#include "tools/wylogctl/LogChain.h"

#include <algorithm>
#include <filesystem>

#include "wyerrlog/internal/WyBackupName.h"

namespace {
// What logrotate and gzip append; other compressions are not read.
constexpr std::string_view Compressed = ".gz";
}  // namespace

CWyLogChain::CWyLogChain(std::string strPath, bool bBackups)
    : m_strPath(std::move(strPath)), m_bBackups(bBackups) {
  const std::size_t uName = m_strPath.rfind('/') + 1;  // 0 without one
  m_strFolder = m_strPath.substr(0, uName);
  m_strName = m_strPath.substr(uName);
}

std::vector<WyLogFile> CWyLogChain::ListBackups() const {
  std::vector<WyLogFile> files;
  if (!m_bBackups || IsStandardInput() || m_strName.empty()) return files;
  const CWyBackupName names(m_strName);
  std::error_code error;
  const std::string strFolder = m_strFolder.empty() ? "." : m_strFolder;
  for (std::filesystem::directory_iterator entry(strFolder, error), end; !error && entry != end;
       entry.increment(error)) {
    WyLogFile file;
    file.strName = entry->path().filename();
    file.strPath = m_strFolder + file.strName;
    file.bBackup = true;
    file.bCompressed = file.strName.ends_with(Compressed) && !m_strName.ends_with(Compressed);
    if (file.bCompressed) file.strName.resize(file.strName.size() - Compressed.size());
    // The library's own rule: a file with a similar name that no rollover can have made is not a
    // part of the log.
    if (!names.Matches(file.strName)) continue;
    // A file that vanished since it was listed was deleted by the retention: it is left out without
    // a word.
    if (WyIdentify(file.strPath, file.identity, file.uSize)) files.push_back(std::move(file));
  }
  std::sort(files.begin(), files.end(), [&names](const WyLogFile& a, const WyLogFile& b) {
    if (a.strName != b.strName) return names.IsOlder(a.strName, b.strName);
    return a.bCompressed < b.bCompressed;
  });
  // While a backup is compressed there are both; the one that is whole is the first.
  const auto end =
      std::unique(files.begin(), files.end(),
                  [](const WyLogFile& a, const WyLogFile& b) { return a.strName == b.strName; });
  files.erase(end, files.end());
  return files;
}

// For a moment of each rollover there is no file of this name: the caller asks again.
bool CWyLogChain::Find(WyLogFile& file) const {
  file = WyLogFile{m_strPath, m_strName, {}, 0, false, m_strName.ends_with(Compressed)};
  return IsStandardInput() || WyIdentify(m_strPath, file.identity, file.uSize);
}

// The log first: if it becomes a backup meanwhile, it is found twice instead of never. The backup
// is then dropped, since readers look for a log that was renamed after it was listed.
std::vector<WyLogFile> CWyLogChain::List() const {
  WyLogFile log;
  const bool bLog = Find(log);
  std::vector<WyLogFile> files = ListBackups();
  if (!bLog) return files;
  std::erase_if(files, [&log](const WyLogFile& file) { return file.identity == log.identity; });
  files.push_back(std::move(log));
  return files;
}
