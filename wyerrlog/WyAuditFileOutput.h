#ifndef WYERRLOG_WYAUDITFILEOUTPUT_H
#define WYERRLOG_WYAUDITFILEOUTPUT_H

// A log file for records that must not be lost or read by everyone: with permissions of its own,
// written through to the disk on request, rolled over by day beside size, with retention by age,
// and for several processes.
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
// Threads write one after another. Without the option `shared` only one process may roll a file
// over; a forked child that goes on logging to a file that is rolled over installs an output of its
// own.
//
// With `shared` any number of processes write to one file and roll it over: workers that have
// inherited the output, programs that have opened it themselves, or both. Limits, retention and
// headers hold as for one process, and no process waits for another one except while the file is
// rolled over, a second at most. A process may be killed at any moment.
//
//   options.shared = true;
//   options.mode = WyFileMode::AppendRollBySize;
//   options.maxSizeMB = 100;
//
//   - When Log has returned true, the record is in the file, or in the backup that the file has
//     become a few milliseconds before; it is there once, on a line of its own. Each thread's
//     records are in order over the files. A file that is deleted at that moment costs no record.
//   - The file may be renamed or deleted from outside (logrotate): within a few milliseconds, a
//   tick
//     of the kernel's clock, the records of each process go to the file that has the name then,
//     which is created if there is none.
//   - A record costs one system call beside its write(2), for the status of the file; another one
//   if
//     other processes write at the same time; and one in each tick, for the status of the name. No
//     record waits for a lock. All records end with a newline.
//   - The limit is reached a sixteenth early, 1 MiB at most, for records that are under way.
//   - Rollovers take turns by a lock on the file ".NAME.lock" beside the log, which is empty and
//     stays. A new file, and the lock file, get the permissions, the group and, if the process may
//     set it, the owner of the file before.
//   - All processes need write access to file and directory. One that may not open the new file
//     goes on in the old one, and loses records (EACCES) once that is deleted: so give the
//     directory and the first file to the user or group of the workers before a server drops its
//     privileges.
//   - All processes are on one machine; every local file system that has renameat2(2) and locks of
//     open file descriptions (fcntl(2)) will do.
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
  //            rollover by size or the other way round, backups or an age without any rollover; a
  //            shared file in mode 0, which would empty it under the other processes
  //   ENOTSUP  the path names neither a regular file nor, unless shared, a character device
  //   ELOOP    the path of a shared file names a symbolic link
  //   EBUSY    the output is open
  // and whatever open(2) and, for the modes that roll over at once, rename(2) report.
  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Flush() override;  // forces what was written to the disk (fdatasync(2))
  bool Close() override;  // false if it is not open
  // Kept for the files that a rollover starts.
  void SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second) override;

 private:
  std::unique_ptr<class CWyRecordFile> m_pFile;
};

#endif
