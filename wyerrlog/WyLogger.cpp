#include "wyerrlog/WyLogger.h"

#include <pthread.h>

#include <cerrno>
#include <exception>
#include <new>
#include <utility>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyOutputCall.h"
#include "wyerrlog/WyThreadTraceData.h"
#include "wyerrlog/thread_utility.h"

std::atomic<bool> CWyLogger::m_bUnloadedComponents{false};
std::atomic<int> CWyLogger::m_iConfigVersion{0};

namespace {

void Remove(CWyLogOutput*& pInstalled) { WyCloseAndDelete(std::exchange(pInstalled, nullptr)); }

bool Replace(CWyLogOutput*& pInstalled, CWyLogOutput* pOutput) {
  if (pOutput == nullptr || pOutput == pInstalled) return false;
  Remove(pInstalled);
  if (!WyOpenOutput(*pOutput)) return false;
  pInstalled = pOutput;
  return true;
}

template <typename Output, typename... Parameters>
CWyLogOutput* MakeOutput(Parameters... parameters) {
  return WyNoThrow<CWyLogOutput*>(nullptr, [&] {
    auto pOutput = std::make_unique<Output>();
    return pOutput->SetParams(parameters...) ? pOutput.release() : nullptr;
  });
}

}  // namespace

// ---- Lifecycle ----------------------------------------------------------------------------------

CWyLogger::CWyLogger() : m_pLookups(new (std::nothrow) CWyReadSections) {
  // The console manager is made before the first logger is, so that it outlives their outputs.
  m_bComplete = WyNoThrow(false, [] { return theConsoleManager() != nullptr; }) &&
                m_pLookups != nullptr && m_lifecycleGuard.IsUsable() && m_logGuard.IsUsable() &&
                m_traceGuard.IsUsable() && m_auditGuard.IsUsable();
  Init();
}

CWyLogger::CWyLogger(CWyReadSections& lookups) : m_pLookups(&lookups) {}

CWyLogger::~CWyLogger() {
  End();
  CWyThreadTracePool::FreeEntriesOf(*this);
}

// Whether host code under one of the guards calls.
bool CWyLogger::IsUsedByThisThread() const {
  return m_lifecycleGuard.IsHeldByThisThread() || m_logGuard.IsHeldByThisThread() ||
         m_traceGuard.IsHeldByThisThread() || m_auditGuard.IsHeldByThisThread();
}

void CWyLogger::Init() {
  const CWyGuardWait wait({&m_lifecycleGuard, &m_logGuard, &m_traceGuard, &m_auditGuard});
  if (!m_bComplete || !wait.IsAllowed()) return;
  const CWyErrLogAutoWriter lifecycle(m_lifecycleGuard);
  const CWyErrLogAutoWriter log(m_logGuard);
  const CWyErrLogAutoWriter trace(m_traceGuard);
  const CWyErrLogAutoWriter audit(m_auditGuard);
  if (m_bInitialized) return;
  if (!WyNoThrow(false, [this] { return Prepare(); })) {
    ReleaseComponents();
    ReleaseKnownInfo();
    return;
  }
  ForgetTraceDecisions();
  CWyThreadTracePool::AddLogger();
  m_bHasThreadKey = pthread_key_create(&m_uThreadKey, FreeThreadTraceData) == 0;
  m_bInitialized = true;
}

bool CWyLogger::Prepare() {
  LoadComponents();
  MakeKnownInfo();
  return true;
}

void CWyLogger::Release() {
  const CWyGuardWait wait({&m_lifecycleGuard, &m_logGuard, &m_traceGuard, &m_auditGuard});
  if (!wait.IsAllowed()) return;
  const CWyErrLogAutoWriter lifecycle(m_lifecycleGuard);
  if (!m_bInitialized) return;
  // From here on nothing is installed any more. Look-ups take no guard: they are turned away, then
  // those under way are waited for.
  m_bInitialized = false;
  {
    const CWyForkGate::Outside outside;
    m_pLookups->WaitForReaders();
  }
  UnloadComponents();
  ReleaseComponents();
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
// over. What the host throws on the way has to wait.
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
    ReleaseThreadRecords();
    RemoveTraceOutputs(true);
  });
  attempt(m_traceGuard, [this] { RemoveTraceOutputs(false); });
  attempt(m_auditGuard, [this] { Remove(m_pAuditOutput); });
  ReleaseKnownInfo();
  if (pThrown != nullptr) std::rethrow_exception(pThrown);
}

void CWyLogger::ReleaseThreadRecords() {
  const int iErrno = errno;
  if (m_bHasThreadKey) pthread_key_delete(m_uThreadKey);
  errno = iErrno;
  m_bHasThreadKey = false;
  initializeThreadKey(&m_uThreadKey);
  CWyThreadTracePool::RemoveLogger(*this);
}

// ---- Outputs ------------------------------------------------------------------------------------

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/) { return MakeOutput<CWyConsoleOutput>(); }

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/, const char* pszFileName, int iMode,
                                      int iMaxSizeMB, int iMaxBackups) {
  return MakeOutput<CWyFileOutput>(pszFileName, iMode, iMaxSizeMB, iMaxBackups);
}

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/, CWySyncCallbackOutput::Callback pfnCallback) {
  return MakeOutput<CWySyncCallbackOutput>(pfnCallback);
}

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/,
                                      CWySyncParameterizedCallbackOutput::Callback pfnCallback,
                                      void* pParam) {
  return MakeOutput<CWySyncParameterizedCallbackOutput>(pfnCallback, pParam);
}

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/, CWyAsyncCallbackOutput::Callback pfnCallback) {
  return MakeOutput<CWyAsyncCallbackOutput>(pfnCallback);
}

CWyLogOutput* CWyLogger::NewLogOutput(int /*iType*/,
                                      CWyAsyncParameterizedCallbackOutput::Callback pfnCallback,
                                      void* pParam) {
  return MakeOutput<CWyAsyncParameterizedCallbackOutput>(pfnCallback, pParam);
}

void CWyLogger::DeleteLogOutput(CWyLogOutput* pOutput) {
  if (pOutput == nullptr) return;
  const int iType = pOutput->GetType();
  if (0 <= iType && iType <= 5) delete pOutput;
}

// ---- Error log and audit log --------------------------------------------------------------------

bool CWyLogger::SetLogOutput(CWyLogOutput* pOutput) {
  const CWyLogWriter writer(m_logGuard);
  return writer && SetLogOutput_Unlocked(pOutput);
}

bool CWyLogger::SetLogOutput_Unlocked(CWyLogOutput* pOutput) {
  return m_bInitialized && Replace(m_pLogOutput, pOutput);
}

void CWyLogger::DisableLog() {
  const CWyLogWriter writer(m_logGuard);
  if (writer) Remove(m_pLogOutput);
}

bool CWyLogger::LogErrMsg(CWyErrLogMessage& msg) {
  if (!m_bInitialized || msg.IsIncomplete()) return false;
  const CWyLogReader reader(m_logGuard);
  return reader && m_pLogOutput != nullptr && m_pLogOutput->Log(msg);
}

bool CWyLogger::EnableAuditLogRollover(CWyLogOutput* pOutput) {
  const CWyLogWriter writer(m_auditGuard);
  return writer && m_bInitialized && Replace(m_pAuditOutput, pOutput);
}

void CWyLogger::DisableAuditLog() {
  const CWyLogWriter writer(m_auditGuard);
  if (writer) Remove(m_pAuditOutput);
}

bool CWyLogger::LogAuditMsg(CWyErrLogMessage& msg) {
  if (!m_bInitialized || msg.IsIncomplete()) return false;
  const CWyLogReader reader(m_auditGuard);
  return reader && m_pAuditOutput != nullptr && m_pAuditOutput->Log(msg);
}

// ---- Settings -----------------------------------------------------------------------------------

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

CWyLogger* theLogger() {
  if (CWyLogger* const pLogger = CWyProcessObject<CWyLogger>::Get()) return pLogger;
  static CWyImmortal<CWyReadSections> s_lookups;
  alignas(CWyLogger) static unsigned char s_storage[sizeof(CWyLogger)];
  static CWyLogger* const s_pReleased = new (s_storage) CWyLogger(s_lookups.value);
  return s_pReleased;
}
