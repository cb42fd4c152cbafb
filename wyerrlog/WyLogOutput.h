#ifndef WYERRLOG_WYLOGOUTPUT_H
#define WYERRLOG_WYLOGOUTPUT_H

// Where a logger puts its finished messages: the controlling terminal, a log file, or a function of
// the host. Hosts make outputs with CWyLogger::NewLogOutput and hand them to the logger, which
// opens them, writes through them from several threads at once, and closes and deletes them.

#include <atomic>
#include <cstdint>
#include <ctime>
#include <string_view>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyErrLogUtil.h"

// ---- Numbers with names -------------------------------------------------------------------------

// The kinds of outputs: what CWyLogOutput::GetType returns, and the first argument of
// CWyLogger::NewLogOutput. Outputs of the host's own kinds use other numbers.
namespace WyOutputType {
enum Number : int {
  Console = 0,
  File = 1,
  SyncCallback = 2,
  AsyncCallback = 3,
  SyncParameterizedCallback = 4,
  AsyncParameterizedCallback = 5,
};
}  // namespace WyOutputType

// What a file output does with an existing file when it opens it, and whether it rolls the file
// over by size: the `iMode` of CWyFileOutput::SetParams and CWyLogger::NewLogOutput.
namespace WyFileMode {
enum Number : int {
  Overwrite = 0,            // starts with an empty file
  Append = 1,               // appends
  RollAtOpen = 2,           // renames an existing file to a backup and starts a new one
  AppendRollBySize = 3,     // appends; rolls over when the file reaches the size limit
  RollAtOpenAndBySize = 4,  // both
};
}  // namespace WyFileMode

// ---- The interface ------------------------------------------------------------------------------

// The output interface. The order of the virtual operations is part of it.
//
// An output belongs to its maker until a logger has installed it, then to the logger, which closes
// and deletes it. Open, Close and SetHeaders are called by one thread at a time and never together
// with Log; Log is called by many threads at once, on the threads that log. When Log has answered
// true the text has been handed over: to the system with one call, or to the host's function.
//
// A forked child has its parent's installed outputs, open, and writes through them. At process exit
// the loggers close and delete theirs.
//
// A host may derive outputs of its own. What their operations throw passes through to the caller of
// the logger's operation.
class WYERRLOG_API CWyLogOutput {
 public:
  CWyLogOutput();           // type -1
  virtual ~CWyLogOutput();  // does not close: the logger does
  CWyLogOutput(const CWyLogOutput&) = delete;
  CWyLogOutput& operator=(const CWyLogOutput&) = delete;

  // Makes the output ready to be written to; called once, by the operation that installs it. False
  // when that is not possible: it is not installed then.
  virtual bool Open() = 0;
  // Writes the message's text, which is the message's and valid during the call. False when it
  // could not be handed over.
  virtual bool Log(CWyErrLogMessage& msg) = 0;
  virtual bool Flush();  // true: nothing is ever held back
  // Ends the use of what Open took. False when it is not open.
  virtual bool Close() = 0;
  virtual void EnableBuffering(bool bEnable);  // no effect: every message is its own system call
  virtual bool IsBufferingEnabled();           // false
  virtual bool IsBufferingSupported();         // false
  // Two lines for the top of every new file; kept by file outputs alone.
  virtual void SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second);
  // Whether the text may be used after Log has returned. Such an output cannot be the first of two.
  virtual bool IsAsync();

  // A WyOutputType, or another number for outputs of the host's own: the logger's DeleteLogOutput
  // deletes only the six kinds named there.
  int GetType() { return m_iType; }
  void SetType(int iType) { m_iType = iType; }

 private:
  int m_iType;
};

// ---- Console ------------------------------------------------------------------------------------

// The process's one handle of the controlling terminal ("/dev/tty"), shared by all console outputs
// and open while one of them is. Inside the library alone.
class CWyConsoleManager {
 public:
  CWyConsoleManager();           // no terminal is open
  virtual ~CWyConsoleManager();  // nor closed
  CWyConsoleManager(const CWyConsoleManager&) = delete;
  CWyConsoleManager& operator=(const CWyConsoleManager&) = delete;

  int GetConsoleHandle();       // takes a reference; -1, and none, when there is no terminal
  void ReleaseConsoleHandle();  // gives one up; the last one closes the terminal

 private:
  CWyErrLogCS m_cs;
  int m_iRefCount;
  int m_hConsole;
};

// Made by the first call and alive for as long as any logger is.
CWyConsoleManager* theConsoleManager();

// Writes to the controlling terminal, "/dev/tty", wherever standard output and error go; one
// `write` per message, which waits while the terminal is stopped. Open fails without a terminal,
// and when it is open already. A forked child writes through the parent's descriptor.
class WYERRLOG_API CWyConsoleOutput : public CWyLogOutput {
 public:
  CWyConsoleOutput();            // type 0, not open
  ~CWyConsoleOutput() override;  // does not give up the terminal: Close does

  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;
  virtual bool SetParams();  // there are none; true

 private:
  int m_hConsole;  // -1 when not open
};

// ---- File ---------------------------------------------------------------------------------------

// Appends to a log file, one `write` per message. Two modes roll the file over by size: it is moved
// to a backup beside it, named by local date and time, and a new one is started.
//
//   mode  an existing file is ...     rollover by size
//   0     overwritten                 no
//   1     appended to                 no
//   2     moved to a backup           no
//   3     appended to                 yes
//   4     moved to a backup           yes
//
// Several threads write at once; the system appends their messages one after another (O_APPEND),
// and keeps them when the process dies. Nothing is forced to the disk (fsync). Several processes
// may append to one file; only one may roll it over. A forked child writes through the parent's
// descriptor. Files are closed in programs that the process executes (O_CLOEXEC).
//
// The path must lead to a regular file or a character device, or to nothing yet; anything else is
// refused, without waiting for the other end of a pipe. Only regular files are rolled over.
//
// When Log has answered true, the message is with the system. A write that the system cuts short,
// as it does with the last room on a disk, counts as written and is not continued. No failed write
// closes the file: a disk with room again is written to again.
class WYERRLOG_API CWyFileOutput : public CWyLogOutput {
 public:
  CWyFileOutput();            // type 1, without a file; SetParams names it
  ~CWyFileOutput() override;  // closes

  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;
  void EnableBuffering(bool bEnable) override;
  bool IsBufferingEnabled() override;
  bool IsBufferingSupported() override;
  void SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second) override;

  // The path is copied. `maxSizeMB` is the size, in units of 1,048,576 bytes, that a size-limited
  // file stays below (a longer single message excepted); `maxBackups` the number of backups to
  // keep, 0 for all. Answers false for a null or empty path, an unknown mode, negative numbers, and
  // a size of 4096 and more. A second call replaces the first.
  virtual bool SetParams(const char* pszFileName, int iMode, int iMaxSizeMB, int iMaxBackups);
  // Writes one text as it stands. False for a null text, without an open file, and when a due
  // rollover or the write fails; the text is then dropped.
  virtual bool Log(const char* pszText);

  // ---- The steps of Open and Log; the logger's callers need none of them ------------------------

  // Writes the text, by one call of the system. False when that failed.
  bool LogMessage(const char* pszText);

  // False only when the system says that nothing bears the name.
  bool FileExists(const char* pszPath) const;

  // Opens the log file: 0 as a new file, 1 overwriting what it holds, 2 appending to it. Created
  // files get the permissions 0644 less the umask. Never waits.
  bool OpenFile(int iHow);
  bool CloseFile();  // always true

  // Moves the log file to a backup, `name_20261116_171613.ext` or, when that is taken,
  // `name_20261116_171613_01.ext` and so on, deletes the oldest backups beyond the number to keep,
  // and starts a new file with the headers. The stamp is local time. Answers true when a file is
  // open afterwards: the new one, or, when the system does not permit the renaming (EACCES), the
  // old one; another attempt is due 300 seconds later. Otherwise the output is closed.
  bool Rollover();

  // Whether a directory entry's name is a backup of the log file of the given name.
  bool IsBackedUpFile(const char* pszName, const char* pszBaseName);

  // Writes the two lines that SetHeaders was given.
  void LogHeaders();

 private:
  WYERRLOG_LOCAL bool MayWriteBesideOthers(uint64_t uBytes) const;
  WYERRLOG_LOCAL bool LogAlone(std::string_view strText);
  WYERRLOG_LOCAL bool RollOverIfDue(size_t uLength);
  WYERRLOG_LOCAL bool IsRetryDue() const;
  WYERRLOG_LOCAL int64_t FileSize() const;
  WYERRLOG_LOCAL bool Write(std::string_view strText);
  WYERRLOG_LOCAL bool AcceptFile(int iFlags);
  WYERRLOG_LOCAL bool IsMovable() const;
  WYERRLOG_LOCAL bool RolloverClosedFile();
  WYERRLOG_LOCAL bool StartNewFile();
  WYERRLOG_LOCAL bool ContinueOldFile();

  // Held for reading by those who write to the file as it is, for writing by the one who may roll
  // it over. Writers of modes 0 to 2 need it only while a rollover is to be tried again.
  CWyErrLogGuard m_guard;
  // What the holders for reading are about to write, in bytes: counted before they look at the
  // file's size, so that together they stay below the limit.
  std::atomic<uint64_t> m_uReserved;
  char* m_pszFileName;
  static constexpr int AwaitsRetry = -2;
  // -1 when closed, AwaitsRetry when a refused rollover could not open the old file again
  int m_hFile;
  int m_iMaxBackups;
  unsigned int m_uMaxFileSize;  // bytes
  int m_iMode;
  bool m_bRegularFile;                 // not a device
  std::atomic<bool> m_bRolloverRetry;  // a rename was refused: another attempt will be made
  time_t m_tRolloverFailed;
  CWyErrLogMessage m_msgHeader1;
  CWyErrLogMessage m_msgHeader2;
};

// ---- Callbacks ----------------------------------------------------------------------------------

// Hands each text to a function of the host: ended by a zero byte, with its length in bytes, valid
// during the call. So do the three classes below.
//
// The function runs on the thread that logs, several at once, while the log is held for reading:
// what it asks of that log is refused (see CWyLogger), a message that it logs to it, say. What it
// throws passes through to the caller of the logger. A null function is never called: Log then
// answers false.
class WYERRLOG_API CWySyncCallbackOutput : public CWyLogOutput {
 public:
  using Callback = void (*)(const char* pszText, int iLength);  // the host's function

  CWySyncCallbackOutput();  // type 2, without a function
  ~CWySyncCallbackOutput() override;

  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;                         // forgets the function
  virtual bool SetParams(Callback pfnCallback);  // always true

 private:
  Callback m_pfnCallback;
};

// The same for functions that call `pfnFree` with the text when they are done with it. The text is
// valid during the call all the same: who needs it for longer copies it. Such an output cannot be
// the first of two trace outputs.
class WYERRLOG_API CWyAsyncCallbackOutput : public CWyLogOutput {
 public:
  // The host's function.
  using Callback = void (*)(const char* pszText, int iLength, void (*pfnFree)(char*));

  CWyAsyncCallbackOutput();  // type 3, without a function
  ~CWyAsyncCallbackOutput() override;

  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;                         // keeps the function
  bool IsAsync() override;                       // true
  virtual bool SetParams(Callback pfnCallback);  // always true

 private:
  Callback m_pfnCallback;
};

// The first with a parameter of the host, which stays the host's and must live as long as the
// output. Neither it nor the function may be null: Open then fails.
class WYERRLOG_API CWySyncParameterizedCallbackOutput : public CWyLogOutput {
 public:
  // The host's function.
  using Callback = void (*)(const char* pszText, int iLength, void* pParam);

  CWySyncParameterizedCallbackOutput();  // type 4, without a function
  ~CWySyncParameterizedCallbackOutput() override;

  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;                                       // forgets function and parameter
  virtual bool SetParams(Callback pfnCallback, void* pParam);  // always true

 private:
  Callback m_pfnCallback;
  void* m_pParam;
};

// The asynchronous one with a parameter of the host; see the two above. Log does not look at the
// parameter again.
class WYERRLOG_API CWyAsyncParameterizedCallbackOutput : public CWyLogOutput {
 public:
  // The host's function.
  using Callback = void (*)(const char* pszText, int iLength, void (*pfnFree)(char*), void* pParam);

  CWyAsyncParameterizedCallbackOutput();  // type 5, without a function
  ~CWyAsyncParameterizedCallbackOutput() override;

  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;                                       // keeps function and parameter
  bool IsAsync() override;                                     // true
  virtual bool SetParams(Callback pfnCallback, void* pParam);  // always true

 private:
  Callback m_pfnCallback;
  void* m_pParam;
};

#endif
