#ifndef WYERRLOG_SEAL_WYSEALEDOUTPUT_H
#define WYERRLOG_SEAL_WYSEALEDOUTPUT_H

// A log file that cannot be changed unseen: each record is authenticated by a key that is gone a
// moment later. What the seal detects and what it cannot is in docs/sealed_audit.md.
//
//   WyFileOptions file;
//   file.path = "/var/log/agent/audit.log";
//   file.mode = 3;
//   file.maxSizeMB = 100;
//   file.permissions = 0640;
//   auto pOutput = std::make_unique<CWySealedOutput>(file, "/var/lib/agent/seal");
//   if (!theLogger()->EnableAuditLogRollover(pOutput.get())) return Fail(strerror(errno));
//   pOutput.release();  // the logger closes and deletes it
//
// The key directory is created by `wylogctl seal create`, which prints the verification key.

#include <wyerrlog/WyFileOptions.h>
#include <wyerrlog/WyLogOutput.h>

#include <memory>
#include <string>
#include <string_view>

// When a checkpoint is due: with the first record after so many records or seconds.
struct WySealOptions {
  unsigned int markRecords = 65536;  // at least 1
  unsigned int markSeconds = 60;     // at least 1
};

// Writes `TEXT <tab> ~SEQ~TAG <newline>`, by one call of the system. Control characters of the text
// are written as \x0a and the like, so that a message is one line; one newline at its end is left
// out. A text of more than 1,048,576 bytes is refused.
//
// Any number of threads, processes and forked children may write to one log, through one key
// directory, also while it is rolled over. A process that is killed loses no record that Log has
// returned true for, and leaves a log to which the others go on writing.
//
// The type is 16. Once a logger has installed the output, the logger closes and deletes it; one
// that it has refused is the caller's to delete.
class WYERRLOG_API CWySealedOutput : public CWyLogOutput {
 public:
  // Of the options, mode 0 (overwrite) is refused, and modes 3 and 4 want a size of at least 1. Not
  // offered are `synchronous` (checkpoints are forced to the disk), `daily` and `maxAgeDays`.
  CWySealedOutput(const WyFileOptions& file, const std::string& strKeyDirectory,
                  const WySealOptions& options = {});
  ~CWySealedOutput() override;  // closes

  // Returns false, with errno set, if it cannot write to the log:
  //   EINVAL   the options are not valid
  //   ENOENT   no key directory, or no directory of the log
  //   EACCES   no permission, or others than the owner may read the state
  //   EBADMSG  the state is damaged or truncated; EPROTO: it is of another version
  //   EEXIST   the log's name is taken by a file that is not sealed: move it away
  // and whatever the system reports. If a process died while it wrote, the log is repaired.
  bool Open() override;

  // Returns true if the record is with the system. Returns false, with errno set, if it is not: it
  // is then not in the log, or a part of it is and a sealed record says so (`~torn`). A full disk
  // costs the records that it refuses and nothing else. Thread-safe.
  bool Log(CWyErrLogMessage& msg) override;
  bool Log(std::string_view strText);

  bool Flush() override;  // forces file and state to the disk
  bool Close() override;  // false if it is not open

 private:
  std::unique_ptr<class CWySealWriter> m_pWriter;
};

#endif
