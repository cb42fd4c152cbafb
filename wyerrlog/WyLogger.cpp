// The life of a logger, its outputs, and the routing of messages of the error log and the audit
// log.
//
// Each log has a guard of its own: held for reading while messages are written, for writing while
// outputs are installed and removed. Init and Release hold a fourth one around them, always the
// first to be taken, so that no two of those run at once. A logger is released or initialised; the
// step between the two is a bit of m_uState, which log calls test without a guard.

#include "wyerrlog/WyLogger.h"

#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "wyerrlog/WyLogStatement.h"
#include "wyerrlog/internal/WyDeadlockCheck.h"
#include "wyerrlog/internal/WyLogAccess.h"
#include "wyerrlog/internal/WyLogLossRecord.h"
#include "wyerrlog/internal/WyMessageCatalog.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"
#include "wyerrlog/internal/WyNoThrow.h"
#include "wyerrlog/internal/WyOutputCall.h"
#include "wyerrlog/internal/WyProcessObject.h"
#include "wyerrlog/internal/WyTextBuffer.h"
#include "wyerrlog/internal/WyTraceRecordPool.h"

// Libraries are unloaded once per process, by the first release. The version is that of the
// configuration that DisableTrace removed last, of any logger: later ones get higher numbers.
std::atomic<bool> CWyLogger::m_bUnloadedComponents{false};
std::atomic<int> CWyLogger::m_iConfigVersion{0};

namespace {

std::uint64_t NextInitialisation() {
  static std::atomic<std::uint64_t> s_uLast{0};
  return ++s_uLast;
}

void Remove(CWyLogOutput*& pInstalled) { WyCloseAndDelete(std::exchange(pInstalled, nullptr)); }

// The former output is closed before the new one opens: both may be the same file.
bool Replace(CWyLogOutput*& pInstalled, CWyLogOutput* pOutput) {
  if (pOutput == nullptr || pOutput == pInstalled) return false;
  Remove(pInstalled);
  if (!WyOpenOutput(*pOutput)) return false;
  pInstalled = pOutput;
  return true;
}

template <typename Output, typename... Parameters>
// Refused parameters delete the output again: the caller never gets one that cannot be opened.
CWyLogOutput* NewOutput(Parameters... parameters) {
  return WyNoThrow<CWyLogOutput*>(nullptr, [&] {
    auto pOutput = std::make_unique<Output>();
    return pOutput->SetParams(parameters...) ? pOutput.release() : nullptr;
  });
}

// At process exit, objects are destroyed in the reverse order of their construction. Components are
// older than the process's loggers, unless they have been unloaded and loaded again: then the
// loggers have to end first, in a handler that is registered after the components' construction.
// The named loggers end before the process logger, which their outputs may use.
void EndLoggersBeforeComponents() {
  [[maybe_unused]] static const int s_iRegistered = std::atexit(CWyProcessObjectLink::EndAll);
}

}  // namespace

// ---- Lifecycle ----------------------------------------------------------------------------------

CWyLogger::CWyLogger(Zeroed)
    : m_pCatalog(WyNoThrow<CWyMessageCatalog*>(nullptr, [] { return new CWyMessageCatalog; })) {
  // The console manager is constructed before the first logger is, so that it outlives the loggers'
  // outputs.
  m_bComplete = WyNoThrow(false, [] { return theConsoleManager() != nullptr; }) &&
                m_pCatalog != nullptr && m_lifecycleGuard.IsUsable() && m_logGuard.IsUsable() &&
                m_traceGuard.IsUsable() && m_auditGuard.IsUsable();
}

CWyLogger::CWyLogger() : CWyLogger(InZeroedMemory) {
  for (auto& row : m_aiTraceDecision) std::uninitialized_value_construct_n(row, std::size(row));
  Init();
}

CWyLogger::CWyLogger(CWyMessageCatalog& emptyCatalog) : m_pCatalog(&emptyCatalog) {}

// No thread uses the logger any more, so the records that threads have for it become free.
CWyLogger::~CWyLogger() {
  End();
  CWyLogLossRecord::Forget(*this);
  CWyTraceRecordPool::FreeEntriesOf(*this);
}

// Whether the calling thread is host code under one of the guards.
bool CWyLogger::IsUsedByThisThread() const {
  return m_lifecycleGuard.IsHeldByThisThread() || m_logGuard.IsHeldByThisThread() ||
         m_traceGuard.IsHeldByThisThread() || m_auditGuard.IsHeldByThisThread();
}

void CWyLogger::Init() {
  // One test for all guards: the first ones are held while the thread waits for the next. Host code
  // under a guard of this logger is refused here.
  const CWyGuardWait wait({m_lifecycleGuard.Native(), m_logGuard.Native(), m_traceGuard.Native(),
                           m_auditGuard.Native()});
  if (!m_bComplete || !wait.IsAllowed()) return;
  const CWyErrLogAutoWriter lifecycle(m_lifecycleGuard);
  const CWyErrLogAutoWriter log(m_logGuard);
  const CWyErrLogAutoWriter trace(m_traceGuard);
  const CWyErrLogAutoWriter audit(m_auditGuard);
  if (IsUsable()) return;
  // At process exit, libraries may be loaded still, but their components have been destroyed.
  if (!m_pCatalog->Load(!CWyProcessObject<CWyLogger>::HasEnded())) return;
  if (m_bUnloadedComponents && m_pCatalog->HasLibraries()) EndLoggersBeforeComponents();
  ForgetTraceDecisions();
  CWyTraceRecordPool::AddLogger();
  m_uInitialisation = NextInitialisation();
  // From here on nothing fails, and look-ups and log calls find the logger complete.
  m_pCatalog->Open();
  if (CWyProcessObject<CWyLogger>::Is(this)) m_pCatalog->BecomeThatOfProcess();
  m_uState |= Initialised;
}

void CWyLogger::Release() {
  const CWyGuardWait wait({m_lifecycleGuard.Native(), m_logGuard.Native(), m_traceGuard.Native(),
                           m_auditGuard.Native()});
  if (!wait.IsAllowed()) return;
  const CWyErrLogAutoWriter lifecycle(m_lifecycleGuard);
  if (!IsUsable()) return;
  // From here on log calls are refused and nothing is installed any more; calls under way are
  // waited for, by the read-side section here and by each guard below.
  m_uState &= static_cast<unsigned char>(~Initialised);
  m_uInitialisation = 0;
  m_pCatalog->Close(!m_bUnloadedComponents.exchange(true));
  RemoveEverything();
}

void CWyLogger::End() noexcept {
  try {
    Release();
  } catch (...) {
    // by a host's output; the logger is released all the same
  }
}

// The logs are emptied one after another, each under its own guard alone: a callback of one of them
// may be on its way into another one, and would wait for a guard that is held here until it is
// over. What the host throws on the way is thrown again at the end, when everything has been
// removed.
void CWyLogger::RemoveEverything() {
  std::exception_ptr pThrown;
  const auto attempt = [&pThrown](CWyErrLogGuard& guard, auto remove) {
    const CWyErrLogAutoWriter writer(guard);
    try {
      remove();
    } catch (...) {
      pThrown = std::current_exception();
    }
  };
  attempt(m_logGuard, [this] { Remove(m_pLogOutput); });
  attempt(m_traceGuard, [this] {
    RemoveTraceConfiguration();
    CWyTraceRecordPool::RemoveLogger(*this);
    RemoveTraceOutputs(true);
  });
  // The second trace output, also if closing the first one has thrown.
  attempt(m_traceGuard, [this] { RemoveTraceOutputs(false); });
  attempt(m_auditGuard, [this] { Remove(m_pAuditOutput); });
  m_pCatalog->ClearLists();
  if (pThrown != nullptr) std::rethrow_exception(pThrown);
}

// ---- Outputs ------------------------------------------------------------------------------------

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/) { return NewOutput<CWyConsoleOutput>(); }

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/, const char* pszFileName, int iMode,
                                      int iMaxSizeMB, int iMaxBackups) {
  return NewOutput<CWyFileOutput>(pszFileName, iMode, iMaxSizeMB, iMaxBackups);
}

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/, CWySyncCallbackOutput::Callback pfnCallback) {
  return NewOutput<CWySyncCallbackOutput>(pfnCallback);
}

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/,
                                      CWySyncParameterizedCallbackOutput::Callback pfnCallback,
                                      void* pParam) {
  return NewOutput<CWySyncParameterizedCallbackOutput>(pfnCallback, pParam);
}

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/, CWyAsyncCallbackOutput::Callback pfnCallback) {
  return NewOutput<CWyAsyncCallbackOutput>(pfnCallback);
}

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/,
                                      CWyAsyncParameterizedCallbackOutput::Callback pfnCallback,
                                      void* pParam) {
  return NewOutput<CWyAsyncParameterizedCallbackOutput>(pfnCallback, pParam);
}

// An output of a host's own kind was allocated by the host, which deletes it in its own way.
void CWyLogger::DeleteLogOutput(CWyLogOutput* pOutput) {
  if (pOutput == nullptr) return;
  const int iType = pOutput->GetType();
  if (WyOutputType::Console <= iType && iType <= WyOutputType::AsyncParameterizedCallback) {
    delete pOutput;
  }
}

// ---- Error log and audit log --------------------------------------------------------------------

bool CWyLogger::SetLogOutput(CWyLogOutput* pOutput) {
  const CWyLogWriter writer(m_logGuard);
  return writer && SetLogOutput_Unlocked(pOutput);
}

bool CWyLogger::SetLogOutput_Unlocked(CWyLogOutput* pOutput) {
  return IsUsable() && Replace(m_pLogOutput, pOutput);
}

void CWyLogger::DisableLog() {
  const CWyLogWriter writer(m_logGuard);
  if (writer) Remove(m_pLogOutput);
}

// The output is read under the guard.
inline bool CWyLogger::WriteTo(CWyLogOutput* const& pOutput, CWyErrLogGuard& guard,
                               CWyErrLogMessage& msg) {
  if (msg.m_pBuffer->IsIncomplete()) return CWyLogLossRecord::Refuse(ENOMEM);
  const CWyLogReader reader(guard);
  if (!reader) return false;
  return pOutput != nullptr ? pOutput->Log(msg) : CWyLogLossRecord::Refuse(ENXIO);
}

// The test of the state needs no lock. A release that comes after it waits for the guard, and the
// output is deleted only then.
bool CWyLogger::LogErrMsg(CWyErrLogMessage& msg) {
  return LogAndAccount(WyLogKind::Error, [&] { return WriteTo(m_pLogOutput, m_logGuard, msg); });
}

bool CWyLogger::LogStatement(const WyLogDetail::Statement& statement) {
  CWyErrLogMessage line(ShouldUseLocalTime());
  line.FormatStatement(statement);
  return LogErrMsg(line);
}

bool CWyLogger::EnableAuditLogRollover(CWyLogOutput* pOutput) {
  const CWyLogWriter writer(m_auditGuard);
  return writer && IsUsable() && Replace(m_pAuditOutput, pOutput);
}

void CWyLogger::DisableAuditLog() {
  const CWyLogWriter writer(m_auditGuard);
  if (writer) Remove(m_pAuditOutput);
}

bool CWyLogger::LogAuditMsg(CWyErrLogMessage& msg) {
  return LogAndAccount(WyLogKind::Audit,
                       [&] { return WriteTo(m_pAuditOutput, m_auditGuard, msg); });
}

// ---- Settings -----------------------------------------------------------------------------------

// Relaxed: each value stands alone, no other memory is published with it.
void CWyLogger::SetExecutionTimeThreshold(int iThreshold) {
  m_iExecutionTimeThreshold.store(iThreshold, std::memory_order_relaxed);
}

int CWyLogger::GetExecutionTimeThreshold() const {
  return m_iExecutionTimeThreshold.load(std::memory_order_relaxed);
}

void CWyLogger::UseLocalTime(bool bUseLocalTime) {
  m_bUseLocalTime.store(bUseLocalTime, std::memory_order_relaxed);
}

bool CWyLogger::ShouldUseLocalTime() const {
  return m_bUseLocalTime.load(std::memory_order_relaxed);
}

// The first call, and calls while memory is short: if memory allocation fails the result is a
// logger in static memory that stays released. The next call tries again.
CWyLogger* CWyLogger::ConstructOfProcess() {
  if (CWyLogger* const pLogger = CWyProcessObject<CWyLogger>::Get()) return pLogger;
  const CWyForkGate gate;  // a forked child must not find the construction half done
  static CWyNeverDestroyed<CWyMessageCatalog> s_emptyCatalog;
  alignas(CWyLogger) static unsigned char s_storage[sizeof(CWyLogger)];
  static CWyLogger* const s_pReleased = new (s_storage) CWyLogger(s_emptyCatalog.value);
  return s_pReleased;
}

// Never null, so that no caller has to test. A function of its own for the first call: this one is
// called for every record, and saves no registers.
CWyLogger* theLogger() {
  CWyLogger* const pLogger = CWyProcessObject<CWyLogger>::Constructed();
  return pLogger != nullptr ? pLogger : CWyLogger::ConstructOfProcess();
}
