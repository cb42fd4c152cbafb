#ifndef WYERRLOG_INTERNAL_WYAUDITFILE_H
#define WYERRLOG_INTERNAL_WYAUDITFILE_H

// The file of a CWyAuditFileOutput in one process: one thread at a time writes and rolls over, so
// that a record that is cut short can be continued, and no failure of a rollover costs a record.

#include <ctime>
#include <string>
#include <string_view>

#include "wyerrlog/internal/WyRecordFile.h"
#include "wyerrlog/internal/WyRecordWriter.h"

// All operations are thread-safe: each holds the mutex of CWyRecordFile, also during write(2) and
// rename(2). They return false with errno set; a rollover that fails is not reported, since the
// record goes to the file at hand. After fork(2) parent and child append to the same file, each
// rolling over for itself: processes that share a log use CWySharedFile.
class CWyAuditFile : public CWyRecordFile {
 public:
  explicit CWyAuditFile(WyFileOptions options);  // the path gets a directory

  // Creates the file, or rolls over the one that is there if the mode says so. ENOTSUP: the path
  // leads to something that is neither a regular file nor a character device. EBUSY: it is open.
  bool Open() override;
  // Rolls over first if it is due. EBADF: it is not open.
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
  // Devices are never renamed, and have no size.
  bool m_bRegularFile = false;
  int m_iDay = 0;          // the local day of the file's records: its year and its day in the year
  time_t m_tNextLook = 0;  // when the day may have ended
};

#endif
