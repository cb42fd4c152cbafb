#ifndef WYLOGCTL_CURSOR_H
#define WYLOGCTL_CURSOR_H

// How far the logs were read by earlier runs: for each log the file, by its identity, and the
// offset behind the last record that was printed. A file that was rolled over since is found again
// among the backups.

#include <map>
#include <string>

#include "tools/wylogctl/ChainReader.h"

class CWyCursor {
 public:
  // A missing file is an empty cursor. Returns false, with the error reported, if it cannot be
  // read.
  bool Load(CWyContext& context, const std::string& strFile);

  // Where to go on in a log that was listed. Reports when the file is gone.
  WyPlace Find(CWyContext& context, const CWyLogChain& chain,
               const std::vector<WyLogFile>& files) const;

  void Set(const CWyLogChain& chain, const WyLogFile& file, std::uint64_t uOffset);

  // Replaces the file in one step. Returns false, with the error reported, if it cannot be written.
  bool Save(CWyContext& context) const;

 private:
  struct Entry {
    WyFileIdentity identity;
    std::string strName;
    std::uint64_t uOffset = 0;
  };

  std::string m_strFile;
  std::map<std::string, Entry> m_entries;  // by the log's absolute path
};

#endif
