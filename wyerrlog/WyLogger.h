#ifndef WYERRLOG_WYLOGGER_H
#define WYERRLOG_WYLOGGER_H

// The logger: the outputs of one error log, one trace and one audit log, the installed trace
// configuration and the message components.
//
//   int main() {
//     CWyLogger& logger = *theLogger();
//     CWyLogOutput* const pOutput =
//         logger.NewLogOutput(WyOutputType::File, "./error.log", WyFileMode::Append, 0, 0);
//     if (!logger.SetLogOutput(pOutput)) {
//       logger.DeleteLogOutput(pOutput);
//       return 1;
//     }
//     WyLog(Login::UnknownUser, "alice");  // WyLog.h
//   }  // at process exit the logger closes and deletes the output

#include <array>
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

class CWyLogLossRecord;
class CWyMessageCatalog;
enum class WyLogKind : int;
namespace WyLogDetail {
struct Statement;
}

// Every operation may be called by any thread, unless its comment restricts it. Log calls and trace
// decisions run side by side; installing and removing outputs or configurations waits for those
// under way, and holds up new ones.
//
// A host callback runs inside a log call. An operation on the same log that it calls (logging to
// it, installing or removing its output, for a trace callback also a trace decision) is refused: it
// returns false at once, and Init and Release do nothing. Other logs and loggers are open to it.
// Only if threads in callbacks would deadlock (two callbacks that each install an output in the
// other's log at the same time, for example), one of them is refused as well. A log call is refused
// for that reason only while the Open or Close of a host's output installs an output in another
// log.
//
// An exception of a host's callback or output passes through and leaves the logger as usable as
// before; an output that throws while it is installed is not installed, and the caller still owns
// it.
//
// A process may fork at any time, also while other threads log: the child logs through the outputs
// it has inherited, under its own process id. (One case is out of the library's reach: a child that
// is forked while a thread of the host itself is inside localtime(3) or gmtime(3) may wait
// indefinitely at its first date.)
//
// The library itself throws nothing: if memory allocation fails, operations return false or null.
// It writes no messages about its own failures: the results are the only report. If open(2) or
// write(2) fails in an output of the library, errno has the reason after the call; otherwise errno
// is not specified.
class WYERRLOG_API CWyLogger {
 public:
  // A logger with its components loaded and without outputs; if memory allocation fails a released
  // one. An object has more than 256 KiB (the cache of trace decisions), so it does not belong on
  // the stack; getMyLogger allocates one.
  CWyLogger();
  // Releases the logger. Requires: no other thread uses it. What an output's Close throws is
  // swallowed.
  virtual ~CWyLogger();
  CWyLogger(const CWyLogger&) = delete;
  CWyLogger& operator=(const CWyLogger&) = delete;

  // Makes a released logger usable again, with its components loaded and without outputs. Part of
  // the construction; no effect on a logger that is in use. If memory allocation fails the logger
  // stays released.
  void Init();

  // Takes a logger out of use: waits for the calls under way, closes and deletes the outputs,
  // removes the configuration and the components. From then on log calls, trace decisions and the
  // installing of outputs return false. The first logger of a process to be released unloads the
  // component libraries (dlclose(3)). No effect on a released logger.
  void Release();

  // ---- Outputs ----------------------------------------------------------------------------------

  // Create an output: for the terminal, a file or a function of the host; the form of the call
  // selects the kind, and the number is ignored. Nothing is opened yet. Return null if the
  // parameters are refused (see the SetParams of its class) and if memory allocation fails; the
  // installing calls refuse null, so one test is enough. The caller owns the output, and passes it
  // to DeleteLogOutput, until an installing call succeeds; from then on the logger owns it.
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

  // Deletes an output that the caller still owns; null is allowed. An output of the host's own kind
  // (see CWyLogOutput::GetType) is not deleted: the host does that. Requires: the output is not
  // installed.
  void DeleteLogOutput(CWyLogOutput* pOutput);

  // ---- Error log --------------------------------------------------------------------------------

  // Closes and deletes the installed output, then opens and installs the new one. If that cannot be
  // opened the call returns false, with errno as Open left it; the error log has no output then,
  // and the caller still owns the new one. For null, for the output already installed and on a
  // released logger it returns false and changes nothing.
  //
  // Messages that other threads log in between wait; none is lost if the new output can be opened.
  [[nodiscard]] bool SetLogOutput(CWyLogOutput* pOutput);
  // The same without locking. Requires: the caller holds the error log's guard for writing, which
  // only the logger itself can.
  [[nodiscard]] bool SetLogOutput_Unlocked(CWyLogOutput* pOutput);
  // Closes and deletes the installed output, after the messages under way; no effect without one.
  void DisableLog();

  // Writes the message's text on the calling thread; nothing is queued. The caller still owns the
  // message. Returns true if the output has passed the text on (see CWyLogOutput). Returns false
  // without an output, for a message that is incomplete, and if the output could not take it; the
  // logger does not try again.
  bool LogErrMsg(CWyErrLogMessage& msg);

  // Formats the message of a log statement (WyLogStatement.h), with this logger's time base, and
  // writes it like LogErrMsg: what WyLog and WyLogText call. Returns false also if memory
  // allocation fails. The texts of the statement are neither copied nor kept.
  bool LogStatement(const WyLogDetail::Statement& statement);

  // ---- Audit log --------------------------------------------------------------------------------

  // As SetLogOutput, for the audit log. Whether the file is rolled over depends on the output's
  // mode.
  [[nodiscard]] bool EnableAuditLogRollover(CWyLogOutput* pOutput);
  // As DisableLog, for the audit log.
  void DisableAuditLog();
  // As LogErrMsg, for the audit log. A host that must not act without an audit record tests the
  // result.
  bool LogAuditMsg(CWyErrLogMessage& msg);

  // ---- Trace ------------------------------------------------------------------------------------

  // Reads the trace configuration file and turns tracing on with it, in the given layout
  // (WyTraceLayout), to one or two outputs; a configuration and outputs installed before are
  // replaced. The file is read before anything is replaced, and without a lock: threads go on
  // tracing meanwhile. `pszDelimiter` is the separator of the layout Delimited, or null; it is
  // copied. If there is a second output, the first must not be asynchronous. `bOutputOnly` replaces
  // the primary output alone: the configuration, its time base and the second output stay, and the
  // caller still owns `pSecondOutput`. `bUseLocalTime` applies to the whole logger. `bBuffered` is
  // passed to EnableBuffering of the primary output; the library's own outputs ignore it. Two
  // header lines are written to the outputs, and at the top of every file that a rollover of the
  // primary output starts (the layouts Xml and Json have none).
  //
  //   CWyLogOutput* const pOutput = logger.NewLogOutput(WyOutputType::File, "./trace.log",
  //                                                     WyFileMode::RollAtOpen, 0, 5);
  //   const bool bEnabled = logger.EnableTrace(pOutput, WyTraceLayout::Brackets, nullptr,
  //                                            "./trace.conf", true, false, false);
  //   if (!bEnabled) logger.DeleteLogOutput(pOutput);
  //
  // Returns false, and nothing changes: for a null output, the same output as first and second, an
  // output that is installed already (with `bOutputOnly` also as `pSecondOutput`), an asynchronous
  // one before a second, a configuration file that cannot be read or is not one
  // (CWyTraceData::ReadConfigFile), `bOutputOnly` without a configuration, a released logger.
  // Returns false, and the outputs installed before are gone (the configuration too, unless
  // `bOutputOnly`): if an output cannot be opened. The caller still owns outputs that were not
  // installed.
  [[nodiscard]] bool EnableTrace(CWyLogOutput* pOutput, CWyLogOutput* pSecondOutput, int iFormat,
                                 const char* pszDelimiter, const char* pszConfigFile,
                                 bool bUseLocalTime, bool bOutputOnly, bool bBuffered);
  [[nodiscard]] bool EnableTrace(CWyLogOutput* pOutput, int iFormat, const char* pszDelimiter,
                                 const char* pszConfigFile, bool bUseLocalTime, bool bOutputOnly,
                                 bool bBuffered);

  // Removes configuration and outputs, or the primary output alone; waits for the records under
  // way, and closes and deletes the outputs.
  void DisableTrace(bool bOutputOnly);

  // The first question of every trace call, inlined there: two loads, no lock. Returns false if
  // nothing at all is traced or the component is known not to be traced; true if one of the
  // operations below must be asked. The first of those calls caches the decision for the component.
  // While another thread replaces the configuration the result may be that of the one before: a
  // record may be missing then.
  [[nodiscard]] bool MayTrace(unsigned int uId) const {
    return m_pTraceData.load(std::memory_order_relaxed) != nullptr &&
           m_aiTraceDecision[WyComponentNumber(uId)][WySubComponentNumber(uId)].load(
               std::memory_order_relaxed) >= 0;
  }

  // Returns true if tracing is on and the component of the identifier (bits 16 to 31) is traced;
  // for 0, if tracing is on. The usual result, false, takes no lock.
  [[nodiscard]] bool TraceEnabled(unsigned int uId);

  // The same for a caller with a record of its own, for example on its stack. If the result is true
  // the record has taken over the installed configuration; its values stay. False for a null
  // record.
  [[nodiscard]] bool ShouldTrace(unsigned int uId, CWyTraceData* pData);

  // The same with the calling thread's own record for this logger, which it stores in `*ppData`.
  // The logger owns the record; it is valid until the thread ends or the logger is destroyed, and
  // no other thread receives it. `*ppData` must be null before the call: a caller that has a record
  // is refused (false). Returns false also if memory allocation fails. The calling sequence is at
  // CWyTraceData.
  [[nodiscard]] bool ShouldTraceAlloc(unsigned int uId, CWyTraceData** ppData);

  // Writes the message's text to every installed trace output, the primary one first. Returns true
  // if there is one and each has passed the text on; a failure of one does not keep the other from
  // being written.
  bool LogTraceMsg(CWyErrLogMessage& msg);

  // ---- Components -------------------------------------------------------------------------------

  // Return the message key (or printf pattern) and the name of the bundle of an identifier's
  // message; null if the logger is released or knows no such component or message. The component
  // owns the texts, which stay valid until the logger is released. No lock is taken. A component
  // that throws has no such message.
  const char* FetchMsg(unsigned int uId) const;
  const char* GetMsgBundle(unsigned int uId) const;

  // Return the names that trace configuration files can select, as "Name ; description :
  // sub-component ; description&sub-component ; ... | Name ; ...", and the names of the data
  // fields, separated by blanks. Null on a released logger. The logger owns the texts, which are
  // valid until it is released or InitKnownInfo is called.
  const char* GetAvailableComponents() const;
  const char* GetAvailableDataFields() const;

  // Steps of Init and Release, which hosts need not call. LoadComponent loads a component library
  // by its short name (see WyErrLogUtilLoadLibrary) and returns the result of its GetComponentPtr;
  // null if there is no such library or entry point, if that throws, and if memory allocation
  // fails; dlerror(3) has the reason of a failed load. The identifier is ignored: components know
  // theirs. The component belongs to its library.
  CWyErrLogComponent* LoadComponent(unsigned long uId, const char* pszLibName);
  // Undoes one LoadComponent of the component (dlclose(3)); the library stays loaded until each
  // LoadComponent, and Init, has had its counterpart. After the last one the component does not
  // exist any more. Null is allowed.
  void UnloadComponent(CWyErrLogComponent* pComponent);
  // Builds the two lists above again from the components. Returns false if memory allocation fails.
  // Requires: no other thread uses the lists.
  bool InitKnownInfo();

  // ---- Settings ---------------------------------------------------------------------------------

  // A number for the host, in a unit of its choice; the library does not use it. 0 at first.
  void SetExecutionTimeThreshold(int iThreshold);
  int GetExecutionTimeThreshold() const;

  // Whether dates are in local time; UTC at first. EnableTrace sets it too. A message takes it when
  // it is constructed: CWyErrLogMessage(logger.ShouldUseLocalTime()). The setting survives Release.
  void UseLocalTime(bool bUseLocalTime);
  bool ShouldUseLocalTime() const;

 private:
  friend class CWyLoggerList;
  friend class CWyLogLossRecord;
  template <typename T>
  friend class CWyProcessObject;
  friend WYERRLOG_API CWyLogger* theLogger();
  friend class CWyTraceConfigCheck;

  // A logger that stays released, in place of one that could not be constructed. Requires: its
  // memory is 0.
  WYERRLOG_LOCAL explicit CWyLogger(CWyMessageCatalog& emptyCatalog);
  // A logger in memory that is 0.
  enum Zeroed { InZeroedMemory };
  WYERRLOG_LOCAL explicit CWyLogger(Zeroed);
  WYERRLOG_LOCAL static CWyLogger* ConstructOfProcess();

  WYERRLOG_LOCAL bool IsUsable() const { return (m_uState & Initialised) != 0; }
  WYERRLOG_LOCAL bool IsUsedByThisThread() const;
  WYERRLOG_LOCAL void RemoveEverything();

  // The log calls without the account of what they refuse (WyLogLoss.h). Returning false they leave
  // the reason in errno.
  WYERRLOG_LOCAL bool WriteTraceMsg(CWyErrLogMessage& msg);
  WYERRLOG_LOCAL static bool WriteTo(CWyLogOutput* const& pOutput, CWyErrLogGuard& guard,
                                     CWyErrLogMessage& msg);
  template <typename Write>
  WYERRLOG_LOCAL bool LogAndAccount(WyLogKind log, const Write& write);
  WYERRLOG_LOCAL void End() noexcept;  // Release where nothing can be thrown

  // The steps of EnableTrace; from the second one on with the trace guard held for writing.
  WYERRLOG_LOCAL std::unique_ptr<CWyTraceData> NewTraceConfiguration(
      int iFormat, const char* pszDelimiter, const char* pszConfigFile, bool bUseLocalTime,
      CWyTraceConfigObserver* pObserver);
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
  // The same as far as that takes no lock; false if it takes one.
  WYERRLOG_LOCAL bool IsTracedForCertain(unsigned int uId);
  WYERRLOG_LOCAL bool ReuseRecord(unsigned int uId, CWyTraceData*& pData);
  WYERRLOG_LOCAL void NoteTracing();
  // The rest of TraceEnabled, ShouldTrace and ShouldTraceAlloc, after MayTrace has returned true.
  WYERRLOG_LOCAL bool IsTracedNow(unsigned int uId);
  WYERRLOG_LOCAL bool ConfigureIfTraced(unsigned int uId, CWyTraceData& data);
  WYERRLOG_LOCAL bool TakeRecordIfTraced(unsigned int uId, CWyTraceData*& pData);

  [[maybe_unused]] unsigned int m_uUnused = 0;
  // Initialised, and a bit for each log that refuses messages at present (see WyLogKind). One byte,
  // so that a log call that works tests both at once.
  static constexpr unsigned char Initialised = 0x80;
  std::atomic<unsigned char> m_uState{0};
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
  // A number that no other initialisation of a logger has; 0 on a released logger.
  std::atomic<std::uint64_t> m_uInitialisation{0};
  // The number of the installed configuration; 0 if nothing is traced.
  std::atomic<std::uint64_t> m_uTracing{0};
  // A bit for every four rows of the cells below: whether one of them has been decided.
  std::atomic<std::uint64_t> m_uDecidedRows{0};
  // What each log has refused.
  struct Loss {
    std::atomic<std::uint64_t> uRefused{0};
    std::atomic<std::uint32_t> uSince{0};  // seconds since the Epoch; enough until 2106
    std::atomic<int> iErrno{0};
  };
  Loss m_aLosses[3];
  std::atomic<void*> m_pLossObserver{nullptr};
  // MayTrace is compiled into the hosts, so the next two members keep their offsets.
  [[maybe_unused]] std::uintptr_t m_auUnused[2] = {};
  std::atomic<CWyTraceData*> m_pTraceData{nullptr};
  // By component and sub-component number: 0 undecided, 1 traced, -1 not traced. In a union, so
  // that a constructor writes to them only if the memory may be other than 0: 256 KiB, of which
  // most loggers need a page or none.
  union {
    std::atomic<int> m_aiTraceDecision[256][256];
  };
  std::atomic<int> m_iExecutionTimeThreshold{0};

  [[maybe_unused]] bool m_bUnused = false;
  // The highest version that a configuration of this logger has had.
  int m_iHighestVersion = 0;
  // Held by Init and Release, before any of the other guards.
  CWyErrLogGuard m_lifecycleGuard;
  // False if memory allocation failed for the parts above: the logger stays released for good.
  bool m_bComplete = false;

  WYERRLOG_LOCAL static std::atomic<bool> m_bUnloadedComponents;
  WYERRLOG_LOCAL static std::atomic<int> m_iConfigVersion;
};

// Returns the process-wide logger, constructed by the first call; never null. (If memory allocation
// fails it returns a logger that is released for good, whose calls return false; the next call
// tries again.) Thread-safe. The caller does not own the logger.
//
// At process exit it is released, and from then on its log calls return false; threads that still
// run may go on calling it until the process ends. The library is not unloaded before that: a
// module that is unloaded (dlclose(3)) first removes the outputs that call its functions.
WYERRLOG_API CWyLogger* theLogger();

// Turns on tracing to a file on the process logger in one call. The file is rolled over by size if
// `iMaxSizeMB` is positive, with `iBackups` backups (0: all). Without `bAppend` the trace starts in
// a new file, and an existing one is renamed to a backup. The other arguments are those of
// EnableTrace; an empty separator counts as none.
//
// Returns false for null or empty paths, and if the file or tracing cannot be set up: see
// CWyFileOutput::SetParams and CWyLogger::EnableTrace. There is nothing to delete then.
//
//   const bool bTracing = WyInitLogger(true, true, 10, WyTraceLayout::Brackets, nullptr,
//                                      "./trace.conf", "./trace.log", 5);
extern "C" WYERRLOG_API bool WyInitLogger(bool bAppend, bool bUseLocalTime, int iMaxSizeMB,
                                          int iFormat, const char* pszDelimiter,
                                          const char* pszConfigFile, const char* pszTraceFile,
                                          int iBackups);

// ---- The pool of per-thread trace records -------------------------------------------------------

// One entry of the pool: a record, and the thread and logger that use it. Hosts need none of these
// functions: ShouldTraceAlloc takes an entry, and the end of the thread frees it.
class ThreadTraceData;

// Takes an entry that no thread has for the calling thread; adds thirty if there is none. Returns
// null if memory allocation fails. The pool owns the entry; the caller passes it to
// FreeThreadTraceData. Thread-safe.
WYERRLOG_API ThreadTraceData* GetThreadTraceData();

// Deletes every entry that no thread has; the others stay until they are freed. Thread-safe.
WYERRLOG_API void DestroyAllThreadTraceData();

// Returns an entry of GetThreadTraceData to the pool. No effect on one that is not in the pool. The
// entries of loggers become free when their thread ends.
extern "C" WYERRLOG_API void FreeThreadTraceData(void* pEntry);

#endif
