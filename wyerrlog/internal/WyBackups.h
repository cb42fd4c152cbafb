#ifndef WYERRLOG_INTERNAL_WYBACKUPS_H
#define WYERRLOG_INTERNAL_WYBACKUPS_H

// The backups of a log file in its directory: finding, deleting and adding them. The directory is
// read each time, because other processes and administrators add and delete backups too.

#include <string>
#include <string_view>
#include <vector>

#include "wyerrlog/internal/WyBackupName.h"

// The backups of one log file. The names passed in must live as long as the object; the operations
// throw std::bad_alloc.
class CWyBackups {
 public:
  // The result of Add: renamed, not permitted (EACCES), or failed.
  enum class Move { Done, Refused, Failed };

  CWyBackups(std::string_view strDirectory, std::string_view strFileName)
      : m_strDirectory(strDirectory), m_naming(strFileName) {}

  // Finds the backups. Returns false if the directory cannot be opened.
  bool Read();

  // Deletes the oldest, so that `uCount` are left. Returns false, with the rest not deleted, if one
  // cannot be deleted (unlink(2)).
  bool DeleteAllBut(size_t uCount);

  // Deletes those with an older stamp than `strStamp`, as far as the system lets it.
  void DeleteOlderThan(const std::string& strStamp);

  // Returns the path of the newest backup; empty without one.
  std::string Newest() const;

  // Returns the path of the next backup, a name that no backup had when they were read.
  std::string Next(const std::string& strStamp) const;

  // Renames the log file to the newest backup, under an unused name. `strStamp` is that of
  // CWyBackupName::MakeStamp.
  Move Add(const char* pszLogFile, const std::string& strStamp) const;

 private:
  std::string Path(std::string_view strName) const;
  std::string FirstFreeNumber(const std::string& strStamp) const;

  std::string m_strDirectory;
  CWyBackupName m_naming;
  std::vector<std::string> m_names;
};

#endif
