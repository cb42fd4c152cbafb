#ifndef WYERRLOG_WYLOGOUTPUT_H
#define WYERRLOG_WYLOGOUTPUT_H

// Where a logger writes its finished messages: to the controlling terminal, to a log file, or to a
// function of the host. Hosts create outputs with CWyLogger::NewLogOutput and install them in a
// logger, which opens them, writes through them from several threads at once, and closes and
// deletes them.
//
//   CWyLogger* const pLogger = theLogger();
//   CWyLogOutput* const pOutput = pLogger->NewLogOutput(WyOutputType::File, "/var/log/agent.log",
//                                                       WyFileMode::AppendRollBySize, 10, 5);
//   if (!pLogger->SetLogOutput(pOutput)) {
//     std::fprintf(stderr, "no error log: %s\n", std::strerror(errno));
//     pLogger->DeleteLogOutput(pOutput);
//   }

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string_view>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyErrLogUtil.h"

class CWyFileGrowth;

// ---- Numbers with names -------------------------------------------------------------------------

// The kinds of outputs: the results of CWyLogOutput::GetType, and the first argument of
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
// over by size: the `iMode` of CWyFileOutput::SetParams and CWyLogger::NewLogOutput. Files that do
// not exist are created in every mode.
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
// The creator of an output owns it until a logger has installed it. From then on the logger owns
// it, and closes it and deletes it (`delete`) when it is replaced or removed, when the logger is
// released, and at process exit. Open, Close and SetHeaders are called by one thread at a time and
// never together with Log; Log is called by many threads at once, on the threads that log. When Log
// has returned true the text has been passed on: to the system with one call, or to the host's
// function.
//
// A forked child has its parent's installed outputs, open, and writes through them.
//
// A host may derive outputs of its own, and allocates them with `new`:
//
//   class CWySyslogOutput : public CWyLogOutput {
//    public:
//     bool Open() override {
//       openlog("agent", LOG_PID, LOG_DAEMON);
//       return true;
//     }
//     bool Log(CWyErrLogMessage& msg) override {
//       syslog(LOG_INFO, "%s", msg.GetBuffer());
//       return true;
//     }
//     bool Close() override {
//       closelog();
//       return true;
//     }
//   };
//
// What their operations throw passes through to the caller of the logger's operation. What they ask
// of the log that calls them is refused (see CWyLogger).
class WYERRLOG_API CWyLogOutput {
 public:
  CWyLogOutput();           // type -1
  virtual ~CWyLogOutput();  // does not close: the logger does
  CWyLogOutput(const CWyLogOutput&) = delete;
  CWyLogOutput& operator=(const CWyLogOutput&) = delete;

  // Makes the output ready to be written to; called once, by the operation that installs it.
  // Returns false if that is not possible: the output is not installed then, and the caller still
  // owns it. The logger leaves errno as Open left it.
  virtual bool Open() = 0;
  // Writes the message's text. The message owns the text, which is valid during the call. Returns
  // false if the text could not be passed on; the logger does not try again.
  virtual bool Log(CWyErrLogMessage& msg) = 0;
  virtual bool Flush();  // true: nothing is ever held back
  // Frees what Open has taken. Returns false if the output is not open; the logger ignores the
  // result.
  virtual bool Close() = 0;
  virtual void EnableBuffering(bool bEnable);  // no effect: every message is its own system call
  virtual bool IsBufferingEnabled();           // false
  virtual bool IsBufferingSupported();         // false
  // Two lines for the top of every new file; the trace passes them before its first record. Only
  // file outputs keep them, and they copy the texts.
  virtual void SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second);
  // Returns true if the text may be used after Log has returned. Such an output cannot be the first
  // of two trace outputs.
  virtual bool IsAsync();

  // A WyOutputType, or another number for outputs of the host's own kinds, at first -1. The
  // logger's DeleteLogOutput deletes only the six kinds named there.
  int GetType() { return m_iType; }
  void SetType(int iType) { m_iType = iType; }

 private:
  int m_iType;
};

// ---- Console ------------------------------------------------------------------------------------

// The process's one descriptor of the controlling terminal ("/dev/tty"), shared by all console
// outputs and open while one of them is. Not exported; thread-safe.
class CWyConsoleManager {
 public:
  CWyConsoleManager();           // opens nothing
  virtual ~CWyConsoleManager();  // closes nothing
  CWyConsoleManager(const CWyConsoleManager&) = delete;
  CWyConsoleManager& operator=(const CWyConsoleManager&) = delete;

  // GetConsoleHandle returns the descriptor and counts one reference; -1, without a reference, if
  // open(2) fails (ENXIO: the process has no terminal). Each success is matched by one
  // ReleaseConsoleHandle; the last of those closes the descriptor.
  int GetConsoleHandle();
  void ReleaseConsoleHandle();

 private:
  CWyErrLogCS m_cs;
  int m_iRefCount;
  int m_hConsole;
};

// Constructed by the first call; lives as long as any logger.
CWyConsoleManager* theConsoleManager();

// Writes to the controlling terminal, "/dev/tty", wherever standard output and error go; one
// write(2) per message, which waits while the terminal is stopped. Open returns false if open(2)
// fails, with its reason in errno (ENXIO for a daemon without a terminal), and if the output is
// open already. Log returns false if the output is not open or write(2) fails; a call that a signal
// handler interrupts (EINTR) is not repeated. A forked child writes through the parent's
// descriptor.
class WYERRLOG_API CWyConsoleOutput : public CWyLogOutput {
 public:
  CWyConsoleOutput();            // type 0, not open
  ~CWyConsoleOutput() override;  // does not release the terminal: Close does

  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;
  virtual bool SetParams();  // there are none; true

 private:
  int m_hConsole;  // -1 when not open
};

// ---- File ---------------------------------------------------------------------------------------

// Appends to a log file, one write(2) per message. Two modes roll the file over by size: it is
// renamed to a backup in the same directory, named by local date and time, and a new one is
// started.
//
//   mode                 an existing file is ...     rollover by size
//   Overwrite            overwritten                 no
//   Append               appended to                 no
//   RollAtOpen           renamed to a backup         no
//   AppendRollBySize     appended to                 yes
//   RollAtOpenAndBySize  renamed to a backup         yes
//
// Several threads write at once; the system writes their messages one after another, and keeps them
// if the process dies. Nothing is forced to the disk (fsync(2)). Several processes may append to
// one file (O_APPEND), but only one of them may roll it over; the others then write to the backup
// until they open the file again. A forked child writes through the parent's descriptor; one that
// goes on logging to a size-limited file installs an output of its own. Programs that the process
// executes do not inherit the descriptor (O_CLOEXEC).
//
// The path must lead to a regular file or a character device, or to nothing yet; anything else is
// refused, without waiting for the other end of a pipe. Only regular files are rolled over, and
// only if the path has a "/": write "./agent.log" for a file in the working directory.
//
// When Log has returned true, the system has the message. A write that the system cuts short, as on
// a disk that becomes full, counts as written and is not continued. If a write fails (ENOSPC, EIO
// ...) Log returns false, the message is dropped and the file stays open: a disk with room again is
// written to again. If a rollover fails the file is closed, and every later Log returns false until
// the host installs an output again; refused renaming (EACCES) is the exception, see Rollover.
class WYERRLOG_API CWyFileOutput : public CWyLogOutput {
 public:
  CWyFileOutput();            // type 1, without a file; SetParams names it
  ~CWyFileOutput() override;  // closes

  // Open returns false if the file cannot be opened, with the reason of open(2) in errno, if it is
  // of another kind, and if a rollover that the mode demands fails; also without SetParams.
  bool Open() override;
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;
  void EnableBuffering(bool bEnable) override;
  bool IsBufferingEnabled() override;
  bool IsBufferingSupported() override;
  void SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second) override;

  // The path is copied; a relative one is looked up in the working directory of each Open and
  // rollover. `iMaxSizeMB` is the size, in units of 1,048,576 bytes, that a size-limited file stays
  // below (a longer single message excepted; 0 rolls over before every message); `iMaxBackups` the
  // number of backups to keep, 0 for all. Returns false, and changes nothing, for a null or empty
  // path, an unknown mode, negative numbers, a size of 4096 and more, and if memory allocation
  // fails. A second call replaces the first. Requires: the output is not installed.
  virtual bool SetParams(const char* pszFileName, int iMode, int iMaxSizeMB, int iMaxBackups);
  // Writes one text as it is, without a newline of its own. Returns false for a null text, without
  // an open file, and if a due rollover or the write fails; the text is dropped then.
  virtual bool Log(const char* pszText);

  // ---- The steps of Open and Log; the logger's callers need none of them ------------------------

  // Writes the text with one write(2), whatever the size of the file. Returns false if that fails.
  bool LogMessage(const char* pszText);

  // Returns false only if access(2) reports that there is no such file (ENOENT), and sets errno to
  // 0 then.
  bool FileExists(const char* pszPath) const;

  // Opens the log file: 0 as a new file, 1 overwriting its content, 2 appending to it; closes the
  // open one first. Created files get the permissions 0644 less the umask. Returns false for any
  // other number, and as Open does. Never waits.
  bool OpenFile(int iHow);
  bool CloseFile();  // always true

  // Renames the log file to a backup, `name_20261116_171613.ext` or, if that name is used,
  // `name_20261116_171613_01.ext` and so on; deletes the oldest backups, so that the number to keep
  // is left; and starts a new file with the headers. The stamp is local time.
  //
  // Returns true if a file is open afterwards: the new one or, if the system does not permit the
  // renaming (EACCES), the old one; another attempt is due 300 seconds later. Otherwise the output
  // is closed.
  bool Rollover();

  // Returns true if a directory entry's name is that of a backup of the log file of the given name;
  // false also for null.
  bool IsBackedUpFile(const char* pszName, const char* pszBaseName);

  // Writes the two lines of SetHeaders, if there are any.
  void LogHeaders();

 private:
  WYERRLOG_LOCAL bool LogText(std::string_view strText);
  WYERRLOG_LOCAL bool LogBeforeRetry(std::string_view strText);
  WYERRLOG_LOCAL bool LogLimited(std::string_view strText);
  WYERRLOG_LOCAL bool LogToFullFile(std::string_view strText);
  WYERRLOG_LOCAL bool LogAlone(std::string_view strText);
  WYERRLOG_LOCAL bool RollOverIfDue(size_t uLength);
  WYERRLOG_LOCAL bool IsRetryDue() const;
  WYERRLOG_LOCAL int64_t FileSize() const;
  WYERRLOG_LOCAL ssize_t Write(std::string_view strText);
  WYERRLOG_LOCAL bool WriteCounted(std::string_view strText);
  WYERRLOG_LOCAL bool AcceptFile(int iFlags);
  WYERRLOG_LOCAL bool IsMovable() const;
  WYERRLOG_LOCAL bool RolloverClosedFile();
  WYERRLOG_LOCAL bool StartNewFile();
  WYERRLOG_LOCAL bool ContinueOldFile();

  // Held for reading by the threads that write to the file as it is, for writing by the thread that
  // may roll it over. Writers of modes 0 to 2 need it only while a rollover is to be tried again.
  CWyErrLogGuard m_guard;
  // Of a size-limited file: what it has grown by, and whether it has room. Null in other modes.
  std::unique_ptr<CWyFileGrowth> m_pGrowth;
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

// Passes each text to a function of the host: with a zero byte at its end, its length in bytes
// without that, valid during the call. A function that needs it for longer copies it. So do the
// three classes below.
//
//   void Collect(const char* pszText, int iLength) { theQueue().Push({pszText, size_t(iLength)}); }
//   ...
//   CWyLogOutput* pOutput = pLogger->NewLogOutput(WyOutputType::SyncCallback, Collect);
//   if (!pLogger->SetLogOutput(pOutput)) pLogger->DeleteLogOutput(pOutput);
//
// The function runs on the thread that logs, on several at once, while the log is held for reading:
// what it asks of that log, to log a message to it for instance, is refused (see CWyLogger). It may
// fork and may take as long as it likes; installing another output waits for it. What it throws
// passes through to the caller of the logger. A null function is never called: Log then returns
// false.
//
// A module that is unloaded (dlclose(3)) removes the outputs that call its functions first.
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

// The same for functions that call `pfnFree` with the text when they no longer need it, on any
// thread. `pfnFree` does nothing: the text is valid only during the call all the same, and a
// function that needs it for longer copies it. Such an output cannot be the first of two trace
// outputs.
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

// CWySyncCallbackOutput with a parameter of the host, for example an object's address. The host
// still owns it; it must live as long as the output. Neither it nor the function may be null: Open
// returns false then.
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

// CWyAsyncCallbackOutput with a parameter of the host; see the two above. Log passes the parameter
// on without testing it again.
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
