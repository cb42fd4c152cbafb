// Whether a component is traced, the calling thread's trace record, and the routing of trace
// messages. Most calls end in MayTrace, two loads without a lock, at the place of the call; what
// comes after it is not inlined there. While a configuration is being replaced MayTrace may return
// the decision of the one before; a trace record may be missing then.
//
// A cell of the decision cache is undecided until a thread asks for it, then traced or not traced
// until the next configuration is installed.

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/internal/WyLogAccess.h"
#include "wyerrlog/internal/WyTraceRecordPool.h"
#include "wyerrlog/thread_utility.h"

namespace {

// The values of a cell of the decision cache.
enum Decision { Undecided = 0, Traced = 1, NotTraced = -1 };

}  // namespace

// ---- Decisions ----------------------------------------------------------------------------------

// Asked before the guard is taken, so that a process without tracing pays for loads alone, and
// again under the guard, because the pointers may have changed in between.
bool CWyLogger::IsTraceOn() const {
  return m_bInitialized.load(std::memory_order_acquire) &&
         m_pTraceData.load(std::memory_order_acquire) != nullptr &&
         (m_pTraceOutput.load(std::memory_order_acquire) != nullptr ||
          m_pSecondTraceOutput.load(std::memory_order_acquire) != nullptr);
}

std::atomic<int>& CWyLogger::DecisionCell(unsigned int uId) {
  return m_aiTraceDecision[WyComponentNumber(uId)][WySubComponentNumber(uId)];
}

void CWyLogger::ForgetTraceDecisions() {
  for (auto& row : m_aiTraceDecision) {
    for (auto& cell : row) cell.store(Undecided, std::memory_order_relaxed);
  }
}

// Requires: the guard is held for reading, with a configuration installed. Threads that decide at
// the same time store the same value. ForgetTraceDecisions runs under the guard for writing, so no
// decision outlives its configuration.
bool CWyLogger::Decide(unsigned int uId) {
  std::atomic<int>& cell = DecisionCell(uId);
  int iDecision = cell.load(std::memory_order_relaxed);
  if (iDecision == Undecided) {
    iDecision = m_pTraceData.load()->ComponentSelected(uId) ? Traced : NotTraced;
    cell.store(iDecision, std::memory_order_relaxed);
  }
  return iDecision == Traced;
}

// The number 0 is no component: it asks whether anything is traced.
bool CWyLogger::TraceEnabled(unsigned int uId) {
  return (uId == 0 || MayTrace(uId)) && IsTracedNow(uId);
}

bool CWyLogger::IsTracedNow(unsigned int uId) {
  if (!IsTraceOn()) return false;
  const CWyLogReader reader(m_traceGuard);
  return reader && IsTraceOn() && (uId == 0 || Decide(uId));
}

bool CWyLogger::ShouldTrace(unsigned int uId, CWyTraceData* pData) {
  return MayTrace(uId) && pData != nullptr && ConfigureIfTraced(uId, *pData);
}

bool CWyLogger::ConfigureIfTraced(unsigned int uId, CWyTraceData& data) {
  if (!IsTraceOn()) return false;
  const CWyLogReader reader(m_traceGuard);
  if (!reader || !IsTraceOn() || !Decide(uId)) return false;
  data.RefreshFrom(*m_pTraceData.load());
  return true;
}

bool CWyLogger::ShouldTraceAlloc(unsigned int uId, CWyTraceData** ppData) {
  return MayTrace(uId) && ppData != nullptr && TakeRecordIfTraced(uId, *ppData);
}

// One hold from the decision to the record: the configuration cannot change in between.
bool CWyLogger::TakeRecordIfTraced(unsigned int uId, CWyTraceData*& pData) {
  if (!IsTraceOn()) return false;
  const CWyLogReader reader(m_traceGuard);
  if (!reader || !IsTraceOn() || !Decide(uId) || pData != nullptr) return false;
  CWyTraceData* const pRecord = RecordOfThisThread();
  if (pRecord == nullptr) return false;
  pRecord->RefreshFrom(*m_pTraceData.load());
  pRecord->SetLogger(this);
  pData = pRecord;
  return true;
}

// WyTlsSetValue reports nothing, so the value is read back: an entry that the key does not refer to
// would never be found again.
CWyTraceData* CWyLogger::RecordOfThisThread() {
  auto* pEntry = m_bHasThreadKey ? static_cast<ThreadTraceData*>(WyTlsGetValue(m_uThreadKey))
                                 : CWyTraceRecordPool::Find(*this);
  if (pEntry == nullptr) {
    pEntry = CWyTraceRecordPool::Take(this, m_bHasThreadKey);
    if (pEntry == nullptr) return nullptr;
    if (m_bHasThreadKey) WyTlsSetValue(m_uThreadKey, pEntry);
    if (m_bHasThreadKey && WyTlsGetValue(m_uThreadKey) != pEntry) {  // no memory
      CWyTraceRecordPool::Free(pEntry);
      return nullptr;
    }
  }
  return pEntry->Record();
}

// ---- Routing ------------------------------------------------------------------------------------

// The second output gets the message also if the first one fails.
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

// ---- The pool of per-thread trace records -------------------------------------------------------

ThreadTraceData* GetThreadTraceData() { return CWyTraceRecordPool::Take(nullptr, true); }

void DestroyAllThreadTraceData() { CWyTraceRecordPool::DestroyFreeEntries(); }

void FreeThreadTraceData(void* pEntry) {
  CWyTraceRecordPool::Free(static_cast<ThreadTraceData*>(pEntry));
}
