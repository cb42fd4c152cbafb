#include "wyerrlog/WyLogger.h"

#include <pthread.h>

#include <cerrno>
#include <new>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyThreadTraceData.h"
#include "wyerrlog/thread_utility.h"

std::atomic<bool> CWyLogger::m_bUnloadedComponents{false};
std::atomic<int> CWyLogger::m_iConfigVersion{0};

namespace {

void CloseAndDelete(CWyLogOutput* pOutput) {
  if (pOutput == nullptr) return;
  pOutput->Close();
  delete pOutput;
}

void Remove(CWyLogOutput*& pOutput) {
  CloseAndDelete(pOutput);
  pOutput = nullptr;
}

bool Replace(CWyLogOutput*& pInstalled, CWyLogOutput* pOutput) {
  if (pOutput == nullptr || pOutput == pInstalled) return false;
  Remove(pInstalled);
  if (!pOutput->Open()) return false;
  pInstalled = pOutput;
  return true;
}

template <typename Output, typename... Parameters>
CWyLogOutput* MakeOutput(Parameters... parameters) {
  auto pOutput = std::make_unique<Output>();
  return pOutput->SetParams(parameters...) ? pOutput.release() : nullptr;
}

}  // namespace

// ---- Lifecycle ----------------------------------------------------------------------------------

CWyLogger::CWyLogger()
    : m_bInitialized(false),
      m_pLogOutput(nullptr),
      m_pTraceOutput(nullptr),
      m_pSecondTraceOutput(nullptr),
      m_pAuditOutput(nullptr),
      m_ppComponents(nullptr),
      m_iComponentSlotCount(0),
      m_bUseLocalTime(false),
      m_iComponentInfoCount(0),
      m_iDataFieldCount(0),
      m_pTraceData(nullptr),
      m_iExecutionTimeThreshold(0),
      m_bHasThreadKey(false),
      m_iComponentInfoCapacity(0),
      m_iHighestVersion(0),
      m_pLookups(new CWyReadSections) {
  theConsoleManager();  // made before the first logger is, so that it outlives the loggers' outputs
  initializeThreadKey(&m_uThreadKey);
  Init();
}

CWyLogger::~CWyLogger() {
  Release();
  CWyThreadTracePool::FreeEntriesOf(*this);
}

// A thread that holds a guard already is inside a callback of that log, or of a component that is
// being loaded: what it asks for would wait for itself.
bool CWyLogger::IsCalledByOutput() const {
  return m_lifecycleGuard.IsHeldByThisThread() || m_logGuard.IsHeldByThisThread() ||
         m_traceGuard.IsHeldByThisThread() || m_auditGuard.IsHeldByThisThread();
}

void CWyLogger::Init() {
  if (IsCalledByOutput()) return;
  const CWyErrLogAutoWriter lifecycle(m_lifecycleGuard);
  const CWyErrLogAutoWriter log(m_logGuard);
  const CWyErrLogAutoWriter trace(m_traceGuard);
  const CWyErrLogAutoWriter audit(m_auditGuard);
  if (m_bInitialized) return;
  LoadComponents();
  InitKnownInfo();
  ForgetTraceDecisions();
  CWyThreadTracePool::AddLogger();
  m_bHasThreadKey = pthread_key_create(&m_uThreadKey, FreeThreadTraceData) == 0;
  m_bInitialized = true;
}

// The logs are emptied one after another, each under its own guard alone: a callback of one of them
// may be on its way into another one, and would wait for a guard that is held here until it is
// over.
void CWyLogger::Release() {
  if (IsCalledByOutput()) return;
  const CWyErrLogAutoWriter lifecycle(m_lifecycleGuard);
  if (!m_bInitialized) return;
  // From here on nothing is installed any more. Look-ups take no guard: they are turned away, then
  // those under way are waited for.
  m_bInitialized = false;
  m_pLookups->WaitForReaders();
  ReleaseComponents();
  {
    const CWyErrLogAutoWriter log(m_logGuard);
    Remove(m_pLogOutput);
  }
  {
    const CWyErrLogAutoWriter trace(m_traceGuard);
    RemoveTraceOutputs(false);
    RemoveTraceConfiguration();
    ReleaseThreadRecords();
  }
  {
    const CWyErrLogAutoWriter audit(m_auditGuard);
    Remove(m_pAuditOutput);
  }
  ReleaseKnownInfo();
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
  if (m_logGuard.IsHeldByThisThread()) return false;
  const CWyErrLogAutoWriter writer(m_logGuard);
  return SetLogOutput_Unlocked(pOutput);
}

bool CWyLogger::SetLogOutput_Unlocked(CWyLogOutput* pOutput) {
  return m_bInitialized && Replace(m_pLogOutput, pOutput);
}

void CWyLogger::DisableLog() {
  if (m_logGuard.IsHeldByThisThread()) return;
  const CWyErrLogAutoWriter writer(m_logGuard);
  Remove(m_pLogOutput);
}

bool CWyLogger::LogErrMsg(CWyErrLogMessage& msg) {
  if (!m_bInitialized || m_logGuard.IsHeldByThisThread()) return false;
  const CWyErrLogAutoReader reader(m_logGuard);
  return m_pLogOutput != nullptr && m_pLogOutput->Log(msg);
}

bool CWyLogger::EnableAuditLogRollover(CWyLogOutput* pOutput) {
  if (m_auditGuard.IsHeldByThisThread()) return false;
  const CWyErrLogAutoWriter writer(m_auditGuard);
  return m_bInitialized && Replace(m_pAuditOutput, pOutput);
}

void CWyLogger::DisableAuditLog() {
  if (m_auditGuard.IsHeldByThisThread()) return;
  const CWyErrLogAutoWriter writer(m_auditGuard);
  Remove(m_pAuditOutput);
}

bool CWyLogger::LogAuditMsg(CWyErrLogMessage& msg) {
  if (!m_bInitialized || m_auditGuard.IsHeldByThisThread()) return false;
  const CWyErrLogAutoReader reader(m_auditGuard);
  return m_pAuditOutput != nullptr && m_pAuditOutput->Log(msg);
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

CWyLogger* theLogger() { return CWyProcessObject<CWyLogger>::Get(); }
