#ifndef WYLOGCTL_LOGCHAIN_H
#define WYLOGCTL_LOGCHAIN_H

// A log and its backups, which are one log in several files: "error.log" stands for all files whose
// names the library gives to backups of error.log, also compressed ones (".gz" behind the name).

#include <string>
#include <string_view>
#include <vector>

#include "tools/wylogctl/ByteSource.h"

struct WyLogFile {
  std::string strPath;
  std::string strName;  // without its folder and without ".gz"
  WyFileIdentity identity;
  std::uint64_t uSize = 0;
  bool bBackup = false;
  bool bCompressed = false;
};

class CWyLogChain {
 public:
  CWyLogChain(std::string strPath, bool bBackups);

  const std::string& Path() const { return m_strPath; }
  bool IsStandardInput() const { return m_strPath == "-"; }

  // The backups that exist now, oldest first; then the log itself, if it exists.
  std::vector<WyLogFile> List() const;
  std::vector<WyLogFile> ListBackups() const;

  // The log itself; returns false if there is none at this moment.
  bool Find(WyLogFile& file) const;

 private:
  std::string m_strPath;
  std::string m_strFolder;  // with its "/", or empty
  std::string m_strName;
  bool m_bBackups;
};

#endif
