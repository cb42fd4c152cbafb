#ifndef WYERRLOG_INTERNAL_WYAUDITFILE_H
#define WYERRLOG_INTERNAL_WYAUDITFILE_H

// The file of a CWyAuditFileOutput: one thread at a time writes and rolls over, so that a record
// that is cut short can be continued, and no failure of a rollover costs a record.

#include <ctime>
#include <string>
#include <string_view>

#include "wyerrlog/WyErrLogUtil.h"
#include "wyerrlog/WyFileOptions.h"
#include "wyerrlog/internal/WyBackups.h"
#include "wyerrlog/internal/WyRecordWriter.h"

// Whether an output that has all of the options accepts them: none is out of its range, and none
// is without effect.
bool WyAreValid(const WyFileOptions& options);

// Open, Log and Close are those of the output. Thread-safe.
class CWyAuditFile {
 public:
  explicit CWyAuditFile(WyFileOptions options);
  ~CWyAuditFile() { Close(); }
  CWyAuditFile(const CWyAuditFile&) = delete;
  CWyAuditFile& operator=(const CWyAuditFile&) = delete;

  bool Open();
  bool Log(std::string_view strText);
  bool Flush();
  bool Close();
  void SetHeaders(std::string strHeaders) { m_strHeaders = std::move(strHeaders); }

 private:
  bool OpenFile(int iFlags);
  bool AcceptFile(int hFile);
  bool IsRolloverDue(size_t uLength);
  bool IsSizeReached(size_t uLength) const;
  bool IsNewDay();
  void NoteDay(time_t tSeconds);
  bool RollOver();
  bool IsOurs() const;
  bool MoveAside();
  void DeleteAged() const;
  CWyBackups Backups() const;

  const WyFileOptions m_options;  // the path has a directory
  std::string m_strHeaders;
  CWyErrLogCS m_cs;
  CWyRecordWriter m_writer;
  int m_hFile = -1;
  bool m_bRegularFile = false;
  int m_iDay = 0;          // the local day of the file's records: its year and its day in the year
  time_t m_tNextLook = 0;  // when the day may have ended
  time_t m_tRetry = 0;     // no rollover is tried before
};

#endif
