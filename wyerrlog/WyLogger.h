#ifndef WYERRLOG_WYLOGGER_H
#define WYERRLOG_WYLOGGER_H

// The logger: the outputs of one error log, one trace and one audit log, the installed trace
// configuration and the message components.

#include <atomic>
#include <cstdint>
#include <memory>

#include "wyerrlog/WyErrLogConfig.h"
#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyErrLogUtil.h"
#include "wyerrlog/WyLogComponent.h"
#include "wyerrlog/WyLogOutput.h"
#include "wyerrlog/WyMessageId.h"
#include "wyerrlog/WyTraceData.h"

class CWyMessageCatalog;

// Every operation may be called by any thread. Log calls and trace decisions run side by side;
// installing and removing outputs or configurations waits for those under way and holds up new
// ones.
//
// A host callback runs inside a log call: what it asks of the same log (logging to it, installing
// or removing its output, for a trace callback also a trace decision) is refused with false at
// once, and Init and Release do nothing. Other logs and loggers are open to it. Only when threads
// in callbacks would come to wait for each other in a circle, one of them is refused as well: when
// two callbacks each install an output in the other's log at the same time, say. Messages are
// refused for that reason only while a host's output is being opened or closed that itself installs
// outputs in the other log.
//
// What a host's callback or output throws passes through, and leaves the logger as usable as
// before; an output that throws while it is installed stays the caller's.
//
// A process may fork at any time, also while other threads log: the child logs through the outputs
// it has inherited, under its own process id. (One thing stays the C library's: a child forked
// while a thread of the host is inside localtime or gmtime itself may wait for ever at its first
// date.)
//
// The library itself throws nothing, also for want of memory: the answer is false or null then. It
// reports no failures of its own anywhere: the results are the report.
class WYERRLOG_API CWyLogger {
 public:
  // A logger with its components loaded and without outputs; a released one when memory is lacking.
  CWyLogger();
  // Closes and deletes the outputs. No other thread may use the logger any more.
  virtual ~CWyLogger();
  CWyLogger(const CWyLogger&) = delete;
  CWyLogger& operator=(const CWyLogger&) = delete;

  // Makes a released logger usable again, with its components loaded and without outputs. Part of
  // construction; does nothing on a logger that is in use.
  void Init();

  // Takes a logger out of use: waits for the calls under way, closes and deletes the outputs,
  // removes the configuration and gives up the components. From then on log calls and decisions
  // answer false, and installing an output does. The first logger of a process to be released
  // unloads the component libraries (dlclose). Does nothing on a released logger.
  void Release();

  // ---- Outputs ----------------------------------------------------------------------------------

  // Makes an output: for the terminal, a file or a function of the host. Null when its parameters
  // are refused (see the SetParams of its class) and when memory is lacking. It belongs to the
  // caller, who passes it to DeleteLogOutput, until an installing call succeeds; then to the
  // logger. The number is not consulted: the form of the call chooses the kind.
  [[nodiscard]] CWyLogOutput* NewLogOutput(int iType);
  [[nodiscard]] CWyLogOutput* NewLogOutput(int iType, const char* pszFileName, int iMode,
                                           int iMaxSizeMB, int iMaxBackups);
  [[nodiscard]] CWyLogOutput* NewLogOutput(int iType, CWySyncCallbackOutput::Callback pfnCallback);
  [[nodiscard]] CWyLogOutput* NewLogOutput(int iType,
                                           CWySyncParameterizedCallbackOutput::Callback pfnCallback,
                                           void* pParam);
  [[nodiscard]] CWyLogOutput* NewLogOutput(int iType, CWyAsyncCallbackOutput::Callback pfnCallback);
  [[nodiscard]] CWyLogOutput* NewLogOutput(
      int iType, CWyAsyncParameterizedCallbackOutput::Callback pfnCallback, void* pParam);

  // Deletes an output that the caller still owns; null is fine. An output of the host's own kind is
  // left alone.
  void DeleteLogOutput(CWyLogOutput* pOutput);

  // ---- Error log --------------------------------------------------------------------------------

  // Closes and deletes the installed output, then opens and installs the new one. When that cannot
  // be opened, the answer is false, the error log has no output and the new one stays the caller's.
  // For null, for the output already installed and on a released logger the answer is false and
  // nothing changes.
  [[nodiscard]] bool SetLogOutput(CWyLogOutput* pOutput);
  // The same for a caller that holds the error log's guard for writing.
  [[nodiscard]] bool SetLogOutput_Unlocked(CWyLogOutput* pOutput);
  // Closes and deletes the installed output; none is fine.
  void DisableLog();

  // Writes the message's text, which stays the caller's, on this thread: when it answers true, the
  // output has handed it over. False without an output, for a message that is incomplete, and when
  // the output could not take it; the message is not tried again.
  bool LogErrMsg(CWyErrLogMessage& msg);

  // ---- Audit log --------------------------------------------------------------------------------

  // As SetLogOutput, for the audit log. Whether the log is rolled over is the output's matter.
  [[nodiscard]] bool EnableAuditLogRollover(CWyLogOutput* pOutput);
  // As DisableLog, for the audit log.
  void DisableAuditLog();
  // As LogErrMsg, for the audit log.
  bool LogAuditMsg(CWyErrLogMessage& msg);

  // ---- Trace ------------------------------------------------------------------------------------

  // Reads the trace configuration file and turns tracing on with it, in the given layout, to one or
  // two outputs; a configuration and outputs installed before are replaced. When there is a second
  // output, the first must not be asynchronous. `bOutputOnly` replaces the primary output alone:
  // the configuration and the second output stay, and `pSecondOutput` stays the caller's.
  // `bUseLocalTime` applies to the whole logger. Two title lines go to the outputs, and to the top
  // of every file after a rollover (layout 3 has none).
  //
  // False, and nothing changes: for a null output, the same output as first and second, an output
  // that is installed already (with `bOutputOnly` also as `pSecondOutput`), an asynchronous one
  // before a second, a configuration file that cannot be read or is not one, `bOutputOnly` without
  // a configuration, a released logger. False, and the outputs installed before are gone
  // (the configuration too, unless `bOutputOnly`): when an output cannot be opened. Outputs that
  // were not installed stay the caller's.
  [[nodiscard]] bool EnableTrace(CWyLogOutput* pOutput, CWyLogOutput* pSecondOutput, int iFormat,
                                 const char* pszDelimiter, const char* pszConfigFile,
                                 bool bUseLocalTime, bool bOutputOnly, bool bBuffered);
  [[nodiscard]] bool EnableTrace(CWyLogOutput* pOutput, int iFormat, const char* pszDelimiter,
                                 const char* pszConfigFile, bool bUseLocalTime, bool bOutputOnly,
                                 bool bBuffered);

  // Removes configuration and outputs, or the primary output alone.
  void DisableTrace(bool bOutputOnly);

  // The question to ask first, which the compiler answers at the place of the call with two loads:
  // false when nothing at all is traced or the component is known not to be; true when one of the
  // questions below must be asked. A component becomes known by the first of those.
  [[nodiscard]] bool MayTrace(unsigned int uId) const {
    return m_pTraceData.load(std::memory_order_relaxed) != nullptr &&
           m_aiTraceDecision[WyComponentNumber(uId)][WySubComponentNumber(uId)].load(
               std::memory_order_relaxed) >= 0;
  }

  // Whether tracing is on and the component of the identifier (bits 16 to 31) is traced; for 0,
  // whether tracing is on. The usual answer, false, takes no lock.
  [[nodiscard]] bool TraceEnabled(unsigned int uId);

  // The same for a caller with a record of its own, which is brought up to the installed
  // configuration; its values stay.
  [[nodiscard]] bool ShouldTrace(unsigned int uId, CWyTraceData* pData);

  // The same with the calling thread's own record for this logger (a thread-specific value, see
  // pthread_getspecific), which is the logger's and lives as long as the thread. `*ppData` must be
  // null on the way in: a record that is already taken is not taken again (false).
  [[nodiscard]] bool ShouldTraceAlloc(unsigned int uId, CWyTraceData** ppData);

  // Writes to every installed trace output. True when there is one and each took the message.
  bool LogTraceMsg(CWyErrLogMessage& msg);

  // ---- Components -------------------------------------------------------------------------------

  // The message key (or printf pattern) and the name of the bundle of an identifier's message; null
  // when the logger is released or knows no such component or message. The texts belong to the
  // component and stay valid until the logger is released. No lock is taken. What the component
  // throws counts as "no such message".
  const char* FetchMsg(unsigned int uId) const;
  const char* GetMsgBundle(unsigned int uId) const;

  // "Name ; description : sub-component ; description & ... | Name ; ...": what trace configuration
  // files can select; and the names of the data fields, separated by blanks. Null on a released
  // logger. Valid until it is released.
  const char* GetAvailableComponents() const;
  const char* GetAvailableDataFields() const;

  // Steps of Init and Release, which hosts need not call. LoadComponent loads a component library
  // by its short name (see WyErrLogUtilLoadLibrary) and answers what its GetComponentPtr answers;
  // null when there is no such library or entry point, and when that throws. The identifier is not
  // consulted: components know theirs. The component belongs to its library.
  CWyErrLogComponent* LoadComponent(unsigned long uId, const char* pszLibName);
  // Closes the library once (dlclose) that LoadComponent has opened for the component; the library
  // stays loaded until each LoadComponent, and Init, has had its counterpart.
  void UnloadComponent(CWyErrLogComponent* pComponent);
  // Makes the two lists above afresh. False when memory is lacking.
  bool InitKnownInfo();

  // ---- Settings ---------------------------------------------------------------------------------

  // A number for the host; the library does not use it. Milliseconds, say.
  void SetExecutionTimeThreshold(int iThreshold);
  int GetExecutionTimeThreshold() const;

  // Whether dates are in local time; UTC at first. EnableTrace sets it too. Messages ask for it
  // when they are made: CWyErrLogMessage(logger.ShouldUseLocalTime()).
  void UseLocalTime(bool bUseLocalTime);
  bool ShouldUseLocalTime() const;

 private:
  friend class CWyLoggerList;
  template <typename T>
  friend class CWyProcessObject;
  friend WYERRLOG_API CWyLogger* theLogger();

  // A logger that stays released, in place of one that could not be constructed.
  WYERRLOG_LOCAL explicit CWyLogger(CWyMessageCatalog& emptyCatalog);

  WYERRLOG_LOCAL bool IsUsable() const { return m_bInitialized; }
  WYERRLOG_LOCAL bool IsUsedByThisThread() const;
  WYERRLOG_LOCAL void RemoveEverything();
  WYERRLOG_LOCAL void End() noexcept;  // Release where nothing can be thrown

  // EnableTrace, step by step; from the second one on under the guard.
  WYERRLOG_LOCAL std::unique_ptr<CWyTraceData> NewTraceConfiguration(int iFormat,
                                                                     const char* pszDelimiter,
                                                                     const char* pszConfigFile,
                                                                     bool bUseLocalTime);
  WYERRLOG_LOCAL bool CanEnableTrace(const CWyLogOutput* pOutput, const CWyLogOutput* pSecondOutput,
                                     bool bOutputOnly) const;
  WYERRLOG_LOCAL bool OpenTraceOutputs(CWyLogOutput* pOutput, CWyLogOutput* pSecondOutput,
                                       bool bBuffered);
  WYERRLOG_LOCAL void InstallTraceConfiguration(std::unique_ptr<CWyTraceData> pConfiguration,
                                                int iVersion, bool bUseLocalTime);
  WYERRLOG_LOCAL void LogTraceHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second,
                                      bool bOutputOnly);

  WYERRLOG_LOCAL void RemoveTraceConfiguration();
  WYERRLOG_LOCAL void RemoveTraceOutputs(bool bOutputOnly);

  WYERRLOG_LOCAL std::atomic<int>& DecisionCell(unsigned int uId);
  WYERRLOG_LOCAL void ForgetTraceDecisions();
  WYERRLOG_LOCAL bool IsTraceOn() const;
  WYERRLOG_LOCAL bool Decide(unsigned int uId);
  WYERRLOG_LOCAL CWyTraceData* RecordOfThisThread();
  // TraceEnabled, ShouldTrace and ShouldTraceAlloc when the look without a lock left it open.
  WYERRLOG_LOCAL bool IsTracedNow(unsigned int uId);
  WYERRLOG_LOCAL bool ConfigureIfTraced(unsigned int uId, CWyTraceData& data);
  WYERRLOG_LOCAL bool TakeRecordIfTraced(unsigned int uId, CWyTraceData*& pData);
  WYERRLOG_LOCAL void ReleaseThreadRecords();

  unsigned int m_uThreadKey = 0;
  std::atomic<bool> m_bInitialized{false};
  CWyLogOutput* m_pLogOutput = nullptr;
  // Read before the guard is taken, hence atomic; the objects only under the guard.
  std::atomic<CWyLogOutput*> m_pTraceOutput{nullptr};
  std::atomic<CWyLogOutput*> m_pSecondTraceOutput{nullptr};
  CWyLogOutput* m_pAuditOutput = nullptr;
  std::unique_ptr<CWyMessageCatalog> m_pCatalog;  // null if there was no memory for it
  std::atomic<bool> m_bUseLocalTime{false};
  CWyErrLogGuard m_logGuard;
  CWyErrLogGuard m_traceGuard;
  CWyErrLogGuard m_auditGuard;
  // Unused. MayTrace is part of the hosts' code, so the two members behind stay where they are.
  [[maybe_unused]] std::uintptr_t m_auUnused[12] = {};
  std::atomic<CWyTraceData*> m_pTraceData{nullptr};
  // By component and sub-component number: 0 undecided, 1 traced, -1 not traced.
  std::atomic<int> m_aiTraceDecision[256][256];
  std::atomic<int> m_iExecutionTimeThreshold{0};

  // A system has a limited number of keys; a logger that got none finds its records more slowly.
  bool m_bHasThreadKey = false;
  // The highest version that a configuration of this logger has had.
  int m_iHighestVersion = 0;
  // Held by Init and Release, before any of the other guards.
  CWyErrLogGuard m_lifecycleGuard;
  // Without memory for the parts above the logger stays released for good.
  bool m_bComplete = false;

  WYERRLOG_LOCAL static std::atomic<bool> m_bUnloadedComponents;
  WYERRLOG_LOCAL static std::atomic<int> m_iConfigVersion;
};

// The process-wide logger, made by the first call; never null. (As long as there is no memory to
// make it, a logger that is released for good, whose calls answer false; the next call tries
// again.) At process exit it is released, and from then on its log calls answer false; threads that
// still run may go on calling it until the process is gone. The library is not unloaded before
// that: a module that is unloaded removes the outputs that call its functions first.
WYERRLOG_API CWyLogger* theLogger();

// Tracing to a file on the process logger in one call: rolled over by size when `iMaxSizeMB` is
// positive, with `iBackups` backups (0: all). Without `bAppend` the trace starts in a new file, an
// existing one is moved to a backup. The other arguments are those of EnableTrace; an empty
// separator is none. False for null or empty paths, and when the file or tracing cannot be set up.
extern "C" WYERRLOG_API bool WyInitLogger(bool bAppend, bool bUseLocalTime, int iMaxSizeMB,
                                          int iFormat, const char* pszDelimiter,
                                          const char* pszConfigFile, const char* pszTraceFile,
                                          int iBackups);

// ---- The pool of per-thread trace records -------------------------------------------------------

// One record of the pool, lent to one thread for one logger at a time.
class ThreadTraceData;

// Takes a record that no thread has, making thirty more when there is none.
WYERRLOG_API ThreadTraceData* GetThreadTraceData();

// Gives up every record that no thread has; the others go when their threads end.
WYERRLOG_API void DestroyAllThreadTraceData();

// Gives a record back; called by the system at the end of the thread that has it.
extern "C" WYERRLOG_API void FreeThreadTraceData(void* pEntry);

#endif
