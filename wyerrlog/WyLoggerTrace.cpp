// Whether a component is traced, the calling thread's trace record, and the routing of trace
// messages. Most calls end in MayTrace, two loads without a lock, at the place of the call; what
// comes after it is not inlined there. While a configuration is being replaced MayTrace may return
// the decision of the one before; a trace record may be missing then.
//
// A cell of the decision cache is undecided until a thread asks for it, then traced or not traced
// until the next configuration is installed.

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/internal/WyDeadlockCheck.h"
#include "wyerrlog/internal/WyLogAccess.h"
#include "wyerrlog/internal/WyLogLossRecord.h"
#include "wyerrlog/internal/WyTextBuffer.h"
#include "wyerrlog/internal/WyTraceGeneration.h"
#include "wyerrlog/internal/WyTraceRecordPool.h"

namespace {

// The values of a cell of the decision cache.
enum Decision { Undecided = 0, Traced = 1, NotTraced = -1 };

// The bit of the row of cells of a component: four rows share one, which makes 64.
std::uint64_t RowBit(unsigned int uComponent) { return std::uint64_t{1} << (uComponent / 4); }

}  // namespace

// ---- Decisions ----------------------------------------------------------------------------------

// Asked before the guard is taken, so that a process without tracing pays for loads alone, and
// again under the guard, because the pointers may have changed in between.
bool CWyLogger::IsTraceOn() const {
  return (m_uState.load(std::memory_order_acquire) & Initialised) != 0 &&
         m_pTraceData.load(std::memory_order_acquire) != nullptr &&
         (m_pTraceOutput.load(std::memory_order_acquire) != nullptr ||
          m_pSecondTraceOutput.load(std::memory_order_acquire) != nullptr);
}

std::atomic<int>& CWyLogger::DecisionCell(unsigned int uId) {
  return m_aiTraceDecision[WyComponentNumber(uId)][WySubComponentNumber(uId)];
}

// Rows without a decision, but for their neighbours', are not touched: their pages may not be
// mapped.
void CWyLogger::ForgetTraceDecisions() {
  for (unsigned int uComponent = 0; uComponent < std::size(m_aiTraceDecision); ++uComponent) {
    if ((m_uDecidedRows & RowBit(uComponent)) == 0) continue;
    for (auto& cell : m_aiTraceDecision[uComponent]) {
      cell.store(Undecided, std::memory_order_relaxed);
    }
  }
  m_uDecidedRows = 0;
}

// Requires: the guard is held for reading, with a configuration installed. Threads that decide at
// the same time store the same value. ForgetTraceDecisions runs under the guard for writing, so no
// decision outlives its configuration.
bool CWyLogger::Decide(unsigned int uId) {
  std::atomic<int>& cell = DecisionCell(uId);
  int iDecision = cell.load(std::memory_order_relaxed);
  if (iDecision == Undecided) {
    iDecision = m_pTraceData.load()->ComponentSelected(uId) ? Traced : NotTraced;
    m_uDecidedRows |= RowBit(WyComponentNumber(uId));
    cell.store(iDecision, std::memory_order_release);
  }
  return iDecision == Traced;
}

// Requires: the guard is held for writing. Configuration and outputs have changed, or are about to.
void CWyLogger::NoteTracing() {
  m_uTracing.store(IsTraceOn() ? m_pTraceData.load()->m_uConfiguration : 0,
                   std::memory_order_release);
  WyNoteTraceChange();
}

// Without a lock, while nothing of it changes. A thread that holds a guard may be code of the host
// that an output has called, which the guard's holder decides on.
[[gnu::always_inline]] inline bool CWyLogger::IsTracedForCertain(unsigned int uId) {
  return DecisionCell(uId).load(std::memory_order_acquire) == Traced &&
         m_uTracing.load(std::memory_order_acquire) != 0 &&
         CWyGuardHold::InnermostOfThisThread() == nullptr;
}

// The number 0 is no component: it asks whether anything is traced.
bool CWyLogger::TraceEnabled(unsigned int uId) {
  if (uId == 0) return IsTracedNow(uId);
  return MayTrace(uId) && (IsTracedForCertain(uId) || IsTracedNow(uId));
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

// The record that the thread had last, without a lock. It has the installed configuration, and the
// cell is read before the number of that: a cell of a later configuration was written after the
// number had changed, which the acquire makes visible.
[[gnu::always_inline]] inline bool CWyLogger::ReuseRecord(unsigned int uId, CWyTraceData*& pData) {
  if (pData != nullptr || !IsTracedForCertain(uId)) return false;
  CWyTraceData* const pRecord =
      CWyTraceRecordPool::LastOfThisThread(m_uInitialisation.load(std::memory_order_relaxed));
  if (pRecord == nullptr ||
      pRecord->m_uConfiguration != m_uTracing.load(std::memory_order_relaxed)) {
    return false;
  }
  pRecord->SetLogger(this);
  pData = pRecord;
  return true;
}

bool CWyLogger::ShouldTraceAlloc(unsigned int uId, CWyTraceData** ppData) {
  return MayTrace(uId) && ppData != nullptr &&
         (ReuseRecord(uId, *ppData) || TakeRecordIfTraced(uId, *ppData));
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

CWyTraceData* CWyLogger::RecordOfThisThread() {
  const ThreadTraceData* pEntry = CWyTraceRecordPool::Find(*this);
  if (pEntry == nullptr) pEntry = CWyTraceRecordPool::Take(this);
  if (pEntry == nullptr) return nullptr;
  CWyTraceRecordPool::SetLastOfThisThread(m_uInitialisation, pEntry->Record());
  return pEntry->Record();
}

// ---- Routing ------------------------------------------------------------------------------------

// The second output gets the message also if the first one fails.
bool CWyLogger::LogTraceMsg(CWyErrLogMessage& msg) {
  return LogAndAccount(WyLogKind::Trace, [&] { return WriteTraceMsg(msg); });
}

inline bool CWyLogger::WriteTraceMsg(CWyErrLogMessage& msg) {
  if (msg.m_pBuffer->IsIncomplete()) return CWyLogLossRecord::Refuse(ENOMEM);
  const CWyLogReader reader(m_traceGuard);
  if (!reader) return false;
  CWyLogOutput* const pFirst = m_pTraceOutput.load(std::memory_order_relaxed);
  CWyLogOutput* const pSecond = m_pSecondTraceOutput.load(std::memory_order_relaxed);
  if (pFirst == nullptr && pSecond == nullptr) return CWyLogLossRecord::Refuse(ENXIO);
  const bool bFirstLogged = pFirst == nullptr || pFirst->Log(msg);
  return (pSecond == nullptr || pSecond->Log(msg)) && bFirstLogged;
}

// ---- The pool of per-thread trace records -------------------------------------------------------

ThreadTraceData* GetThreadTraceData() { return CWyTraceRecordPool::Take(nullptr); }

void DestroyAllThreadTraceData() { CWyTraceRecordPool::DestroyFreeEntries(); }

void FreeThreadTraceData(void* pEntry) {
  CWyTraceRecordPool::Free(static_cast<ThreadTraceData*>(pEntry));
}
