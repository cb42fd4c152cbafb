#ifndef WYERRLOG_WYDESCRIPTOROUTPUT_H
#define WYERRLOG_WYDESCRIPTOROUTPUT_H

// An output to a descriptor that the host owns: standard error in a container, a pipe to a
// collector, a socket.
//
//   auto* pOutput = new CWyDescriptorOutput(STDERR_FILENO);
//   if (!theLogger()->SetLogOutput(pOutput)) delete pOutput;
//
// Under systemd, standard error usually leads to the journal, which takes a priority before each
// line (sd-daemon(3)):
//
//   const bool bJournal = CWyDescriptorOutput::IsJournalStream(STDERR_FILENO);
//   new CWyDescriptorOutput(STDERR_FILENO, bJournal ? LOG_INFO : CWyDescriptorOutput::NoPriority);

#include <memory>

#include "wyerrlog/WyLogOutput.h"

// Writes each record with one system call: write(2), with a prefix writev(2), on a socket
// sendmsg(2). No pipe and no socket that has lost its reader ends the process: SIGPIPE is not
// delivered for them, and Log returns false with EPIPE in errno.
//
// The call waits as long as the descriptor makes it wait: a pipe that nobody reads stops the
// threads that log once it is full. On a descriptor with O_NONBLOCK the record is refused instead
// (EAGAIN). What the system cuts short is continued; if that fails the record counts as refused,
// and the next one begins on a line of its own. Threads write one after another, so their records
// are never mixed; those of several processes are not up to PIPE_BUF (4096) bytes in a pipe.
//
// The host keeps the descriptor open until the output has been removed, and closes it. A forked
// child writes through its copy. Allocated with `new`; the type is 18. The caller deletes an output
// that was not installed.
class WYERRLOG_API CWyDescriptorOutput : public CWyLogOutput {
 public:
  static constexpr int Type = 18;        // the result of GetType
  static constexpr int NoPriority = -1;  // records are written as they are

  // With a priority of syslog(3), 0 (LOG_EMERG) to 7 (LOG_DEBUG), each line of a record begins with
  // "<N>". A message of the error log has the priority of its severity: 3 (error), 4 (warning), 6
  // (information). All other records have the priority given here: LOG_INFO for an audit log,
  // LOG_DEBUG for a trace.
  explicit CWyDescriptorOutput(int hFile, int iPriority = NoPriority);
  ~CWyDescriptorOutput() override;

  // Returns false, with errno set, for a descriptor that is not open for writing (EBADF), for a
  // priority out of range (EINVAL), and if the output is open (EBUSY).
  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;  // the descriptor stays open; false if the output is not open

  // Returns true if the descriptor leads to the journal of systemd, by the environment variable
  // JOURNAL_STREAM.
  static bool IsJournalStream(int hFile);

 private:
  std::unique_ptr<class CWyDescriptorWriter> m_pWriter;
};

#endif
