#ifndef WYERRLOG_INTERNAL_WYSHAREDFILE_H
#define WYERRLOG_INTERNAL_WYSHAREDFILE_H

// The file of a CWyAuditFileOutput that several processes write to and roll over. The processes
// share nothing but the file's name and the identity (device and inode) of the file that has it; a
// lock file is for rollovers alone.

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "wyerrlog/internal/WyRecordFile.h"

// A forked child goes on with the object: it holds nothing that belongs to one process.
class CWySharedFile : public CWyRecordFile {
 public:
  explicit CWySharedFile(WyFileOptions options) : CWyRecordFile(std::move(options)) {}

  bool Open() override;
  bool Log(std::string_view strText) override;

 private:
  // Writing.
  bool FindFile(size_t uLength);
  bool IsDue(const struct stat& status, size_t uLength) const;
  bool IsNewDay(const struct stat& status) const;
  bool WriteWhole(std::string_view strText);
  bool IsTornAt(off_t lSize) const;
  bool MendTorn(off_t lEnd, std::string_view strText, bool bIsTorn) const;
  bool IsKept(std::string_view strText) const;
  bool HasName() const;
  bool IsOpenFile(const struct stat& status) const {
    return status.st_dev == m_status.st_dev && status.st_ino == m_status.st_ino;
  }
  // More rollovers and foreign renames than can happen during one record.
  static constexpr int MaxAttempts = 100;

  // Opening.
  bool OpenFile();
  bool Publish();
  bool Adopt(int hFile);
  int OpenFlags() const;
  unsigned int Permissions() const;
  bool Prepare(int hFile) const;
  bool Own(int hFile) const;

  // Rolling over.
  bool RollOver();
  int WaitForTurn() const;
  std::string LockFile() const;
  int OpenLockFile(const std::string& strLock) const;
  static bool IsNamed(const std::string& strPath, const struct stat& file);
  void DeleteLeftOver() const;
  int CreateNext(std::string& strNext) const;
  bool Exchange();

  std::string m_strPath;      // absolute: the process may change its working directory
  struct stat m_status = {};  // of the open file, when it was opened
  off_t m_lSize = 0;          // of the file, before the record
  off_t m_lSuspect = 0;       // a size of the file at which its last record may be torn; 0 for none
  unsigned int m_uForks = 0;  // of the process, when the file was opened
};

#endif
