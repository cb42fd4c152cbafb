#ifndef WYERRLOG_WYAUDITFILEOUTPUT_H
#define WYERRLOG_WYAUDITFILEOUTPUT_H

// A log file for records that must not be lost or read by everyone: with permissions of its own,
// written through to the disk on request, rolled over by day beside size, and with retention by
// age.
//
//   WyFileOptions options;
//   options.path = "/var/log/agent/audit.log";
//   options.permissions = 0640;
//   options.synchronous = true;
//   options.daily = true;
//   options.maxAgeDays = 90;
//   if (!WyAuditToFile(options.path.c_str(), options)) ...  // WyLogFile.h
//
// Changes of the file are not detected; see docs/sealed_audit.md for an output that does that.

#include <memory>

#include "wyerrlog/WyFileOptions.h"
#include "wyerrlog/WyLogOutput.h"

// An output for files with all options of WyFileOptions. Beside those it differs from CWyFileOutput
// in what it does when something fails:
//
//   - Log returns true only if the system has taken the whole record. What a full disk has cut
//     short is refused (ENOSPC), and the next record begins on a line of its own; so does the first
//     one after a crash that has left half a record in the file.
//   - A rollover that fails, for whatever reason, costs no record: the file at hand goes on beyond
//     its limit, and the rollover is tried again 300 seconds later.
//   - A path without a "/" is a file in the working directory of the calls that open it.
//
// Threads write one after another. Only one process may roll a file over; a forked child that goes
// on logging to a file that is rolled over installs an output of its own.
//
// Allocated with `new`; the type is 17. The caller deletes an output that was not installed.
class WYERRLOG_API CWyAuditFileOutput : public CWyLogOutput {
 public:
  static constexpr int Type = 17;  // the result of GetType

  // Copies the options; Open checks them. Throws std::bad_alloc.
  explicit CWyAuditFileOutput(const WyFileOptions& options);
  ~CWyAuditFileOutput() override;  // closes

  // Opens the file as the mode demands. Returns false, with errno set:
  //   EINVAL   an option is out of its range, or has no effect beside the others: a size without
  //            rollover by size or the other way round, backups or an age without any rollover
  //   ENOTSUP  the path names neither a regular file nor a character device
  //   EBUSY    the output is open
  // and whatever open(2) and, for the modes that roll over at once, rename(2) report.
  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Flush() override;  // forces what was written to the disk (fdatasync(2))
  bool Close() override;  // false if it is not open
  // Kept for the files that a rollover starts.
  void SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second) override;

 private:
  std::unique_ptr<class CWyAuditFile> m_pFile;
};

#endif
