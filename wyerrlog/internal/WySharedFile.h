#ifndef WYERRLOG_INTERNAL_WYSHAREDFILE_H
#define WYERRLOG_INTERNAL_WYSHAREDFILE_H

// The file of a CWyAuditFileOutput that several processes write to and roll over. The processes
// share nothing but the file's name and the identity (device and inode) of the file that has it; a
// lock file is for rollovers alone.

#include <sys/stat.h>

#include <cstdint>
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
  bool IsDue(size_t uLength) const;
  bool IsNewDay() const;
  bool WriteWhole(std::string_view strText);
  bool IsTornAt(off_t lSize) const;
  bool MendTorn(off_t lEnd, std::string_view strText, bool bIsTorn) const;
  bool IsKept(std::string_view strText);
  bool HasName();
  bool IsOpenFile(const struct statx& status) const;
  bool ReadStatus(int hFile, const char* pszPath);
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

  std::string m_strPath;       // absolute: the process may change its working directory
  struct stat m_status = {};   // of the open file, when it was opened
  struct statx m_latest = {};  // of the open file, when it was last looked at
  int64_t m_iTick = 0;         // of the last look at the name
  bool m_bSuspect = false;     // the last record may be torn, at any place
  unsigned int m_uForks = 0;   // of the process, when the file was opened
};

#endif
