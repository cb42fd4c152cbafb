#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyThreadTraceData.h"
#include "wyerrlog/thread_utility.h"

namespace {

// What a cell of the decision cache says.
enum Decision { Undecided = 0, Traced = 1, NotTraced = -1 };

}  // namespace

// ---- Decisions ----------------------------------------------------------------------------------

// Most calls end in one of these looks, without a lock. While a configuration is being swapped they
// may answer for the one before; a trace record may be missing then.

bool CWyLogger::IsTraceOn() const {
  return m_bInitialized.load(std::memory_order_acquire) &&
         m_pTraceData.load(std::memory_order_acquire) != nullptr &&
         (m_pTraceOutput.load(std::memory_order_acquire) != nullptr ||
          m_pSecondTraceOutput.load(std::memory_order_acquire) != nullptr);
}

bool CWyLogger::IsKnownUntraced(unsigned int uId) {
  return DecisionCell(uId).load(std::memory_order_relaxed) == NotTraced;
}

std::atomic<int>& CWyLogger::DecisionCell(unsigned int uId) {
  return m_aiTraceDecision[uId >> 24][(uId >> 16) & 0xFF];
}

void CWyLogger::ForgetTraceDecisions() {
  for (auto& row : m_aiTraceDecision) {
    for (auto& cell : row) cell.store(Undecided, std::memory_order_relaxed);
  }
}

// Under the guard, with a configuration installed.
bool CWyLogger::Decide(unsigned int uId) {
  std::atomic<int>& cell = DecisionCell(uId);
  int iDecision = cell.load(std::memory_order_relaxed);
  if (iDecision == Undecided) {
    iDecision = m_pTraceData.load()->ComponentSelected(uId) ? Traced : NotTraced;
    cell.store(iDecision, std::memory_order_relaxed);
  }
  return iDecision == Traced;
}

bool CWyLogger::TraceEnabled(unsigned int uId) {
  if (!IsTraceOn() || (uId != 0 && IsKnownUntraced(uId))) return false;
  const CWyLogReader reader(m_traceGuard);
  return reader && IsTraceOn() && (uId == 0 || Decide(uId));
}

bool CWyLogger::ShouldTrace(unsigned int uId, CWyTraceData* pData) {
  if (pData == nullptr || !IsTraceOn() || IsKnownUntraced(uId)) return false;
  const CWyLogReader reader(m_traceGuard);
  if (!reader || !IsTraceOn() || !Decide(uId)) return false;
  pData->RefreshFrom(*m_pTraceData.load());
  return true;
}

bool CWyLogger::ShouldTraceAlloc(unsigned int uId, CWyTraceData** ppData) {
  if (ppData == nullptr || !IsTraceOn() || IsKnownUntraced(uId)) return false;
  // One hold from the decision to the record: the configuration cannot change in between.
  const CWyLogReader reader(m_traceGuard);
  if (!reader || !IsTraceOn() || !Decide(uId) || *ppData != nullptr) return false;
  CWyTraceData* const pRecord = RecordOfThisThread();
  if (pRecord == nullptr) return false;
  pRecord->RefreshFrom(*m_pTraceData.load());
  pRecord->SetLogger(this);
  *ppData = pRecord;
  return true;
}

CWyTraceData* CWyLogger::RecordOfThisThread() {
  auto* pEntry = m_bHasThreadKey ? static_cast<ThreadTraceData*>(WyTlsGetValue(m_uThreadKey))
                                 : CWyThreadTracePool::Find(*this);
  if (pEntry == nullptr) {
    pEntry = CWyThreadTracePool::Take(this, m_bHasThreadKey);
    if (pEntry == nullptr) return nullptr;
    if (m_bHasThreadKey) WyTlsSetValue(m_uThreadKey, pEntry);
    if (m_bHasThreadKey && WyTlsGetValue(m_uThreadKey) != pEntry) {  // no memory
      CWyThreadTracePool::Free(pEntry);
      return nullptr;
    }
  }
  return pEntry->Record();
}

// ---- Routing ------------------------------------------------------------------------------------

bool CWyLogger::LogTraceMsg(CWyErrLogMessage& msg) {
  if (!m_bInitialized || msg.IsIncomplete()) return false;
  const CWyLogReader reader(m_traceGuard);
  if (!reader) return false;
  bool bInstalled = false;
  bool bAllLogged = true;
  for (CWyLogOutput* pOutput : {m_pTraceOutput.load(), m_pSecondTraceOutput.load()}) {
    if (pOutput == nullptr) continue;
    bInstalled = true;
    if (!pOutput->Log(msg)) bAllLogged = false;
  }
  return bInstalled && bAllLogged;
}
