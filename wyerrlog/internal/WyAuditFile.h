#ifndef WYERRLOG_INTERNAL_WYAUDITFILE_H
#define WYERRLOG_INTERNAL_WYAUDITFILE_H

// The file of a CWyAuditFileOutput in one process: one thread at a time writes and rolls over, so
// that a record that is cut short can be continued, and no failure of a rollover costs a record.

#include <ctime>
#include <string>
#include <string_view>

#include "wyerrlog/internal/WyRecordFile.h"
#include "wyerrlog/internal/WyRecordWriter.h"

class CWyAuditFile : public CWyRecordFile {
 public:
  explicit CWyAuditFile(WyFileOptions options);  // the path gets a directory

  bool Open() override;
  bool Log(std::string_view strText) override;

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

  CWyRecordWriter m_writer;
  bool m_bRegularFile = false;
  int m_iDay = 0;          // the local day of the file's records: its year and its day in the year
  time_t m_tNextLook = 0;  // when the day may have ended
};

#endif
