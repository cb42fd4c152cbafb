#include "wyerrlog/WyThreadTraceData.h"

#include <algorithm>
#include <vector>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyLogger.h"

namespace {

constexpr int TRACEDATA_SIZE_INC = 30;

// Threads may outlive main, so nothing of this is ever destroyed.
constinit CWyImmortal<CWyErrLogCriticalSection> TTraceDataCS;
constinit CWyImmortal<std::vector<ThreadTraceData*>> TTraceData;
constinit int s_iLoggers = 0;

// Gives entries back that no key of a logger does. The value of a thread that may have such.
class ThreadEnd : public CpaTls {
 public:
  ThreadEnd() : CpaTls([](void*) { CWyThreadTracePool::FreeEntriesOfThread(); }) {}

  // False when the system has no memory to watch the thread.
  bool Watch() { return GetValue() != nullptr || SetValue(this) == 0; }

  static ThreadEnd& Get() {
    static CWyImmortal<ThreadEnd> s_threadEnd;
    return s_threadEnd.value;
  }
};

// When the library is loaded: keys may be used up later.
[[maybe_unused]] const ThreadEnd& s_threadEnd = ThreadEnd::Get();

std::vector<ThreadTraceData*>& Entries() { return TTraceData.value; }

[[maybe_unused]] const int s_iForkHandler =
    pthread_atfork(nullptr, nullptr, CWyThreadTracePool::LoseEntriesOfOtherThreads);

}  // namespace

class CWyThreadTracePool::Lock {
 public:
  Lock() { TTraceDataCS.value.Enter(); }
  ~Lock() { TTraceDataCS.value.Leave(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
};

void CWyThreadTracePool::AddLogger() {
  CWyForkRegistry::Add(TTraceDataCS.value);
  const Lock lock;
  ++s_iLoggers;
}

void CWyThreadTracePool::RemoveLogger(const CWyLogger& logger) {
  const Lock lock;
  for (ThreadTraceData* pEntry : Entries()) {
    if (!pEntry->IsOf(logger)) continue;
    pEntry->m_bLeft = true;
    pEntry->m_bFreedByKey = false;
  }
  if (--s_iLoggers == 0) KeepFree(0);
}

void CWyThreadTracePool::FreeEntriesOf(const CWyLogger& logger) {
  const Lock lock;
  for (ThreadTraceData* pEntry : Entries()) {
    if (pEntry->IsOf(logger)) SetFree(*pEntry);
  }
  KeepFree(s_iLoggers > 0 ? TRACEDATA_SIZE_INC : 0);
}

ThreadTraceData* CWyThreadTracePool::Find(const CWyLogger& logger) {
  const Lock lock;
  for (ThreadTraceData* pEntry : Entries()) {
    if (pEntry->IsOf(logger) && !pEntry->m_bLeft && pEntry->m_thread == pthread_self()) {
      return pEntry;
    }
  }
  return nullptr;
}

ThreadTraceData* CWyThreadTracePool::Take(const CWyLogger* pLogger, bool bFreedByKey) {
  if (!ThreadEnd::Get().Watch()) return nullptr;
  const Lock lock;
  ThreadTraceData* pEntry = FindFree();
  if (pEntry == nullptr) {
    const std::size_t uOldCount = Entries().size();
    Expand();
    if (Entries().size() == uOldCount) return nullptr;
    pEntry = Entries()[uOldCount];
  }
  if (!pEntry->MakeRecord()) return nullptr;
  pEntry->m_bFree = false;
  pEntry->m_thread = pthread_self();
  pEntry->m_pLogger = pLogger;
  pEntry->m_bLeft = false;
  pEntry->m_bFreedByKey = bFreedByKey;
  // Its last thread may have ended in the middle of a record.
  pEntry->m_pRecord->LeaveNoBody();
  return pEntry;
}

// The records are large, so those that no thread ever takes are never made.
bool ThreadTraceData::MakeRecord() {
  if (m_pRecord != nullptr) return true;
  return WyNoThrow(false, [this] {
    m_pRecord = std::make_unique<CWyTraceData>();
    return true;
  });
}

// An entry that this thread had for a logger that is gone comes before the free ones, so that a
// thread that goes through many loggers needs one entry.
ThreadTraceData* CWyThreadTracePool::FindFree() {
  ThreadTraceData* pFree = nullptr;
  for (ThreadTraceData* pEntry : Entries()) {
    if (pEntry->m_bLeft && pEntry->m_thread == pthread_self()) return pEntry;
    if (pFree == nullptr && pEntry->m_bFree) pFree = pEntry;
  }
  return pFree;
}

// Fewer entries than wanted, perhaps none, when memory is lacking: the caller looks.
void CWyThreadTracePool::Expand() {
  WyNoThrow(false, [] {
    Entries().reserve(Entries().size() + TRACEDATA_SIZE_INC);
    for (int i = 0; i < TRACEDATA_SIZE_INC; ++i) Entries().push_back(new ThreadTraceData);
    return true;
  });
}

void CWyThreadTracePool::SetFree(ThreadTraceData& entry) {
  entry.m_pLogger = nullptr;
  entry.m_bLeft = false;
  entry.m_bFreedByKey = false;
  entry.m_bFree = true;
}

void CWyThreadTracePool::KeepFree(int iCount) {
  std::erase_if(Entries(), [&iCount](ThreadTraceData* pEntry) {
    if (!pEntry->m_bFree || iCount-- > 0) return false;
    delete pEntry;
    return true;
  });
  if (Entries().empty()) Entries().shrink_to_fit();
}

void CWyThreadTracePool::Free(ThreadTraceData* pEntry) {
  const Lock lock;
  // The logger may have been destroyed since the thread came to its end, and the entry with it.
  if (std::find(Entries().begin(), Entries().end(), pEntry) == Entries().end()) return;
  if (pEntry->m_pLogger == nullptr || pEntry->m_thread == pthread_self()) SetFree(*pEntry);
}

void CWyThreadTracePool::FreeEntriesOfThread() {
  const Lock lock;
  for (ThreadTraceData* pEntry : Entries()) {
    if (pEntry->m_thread == pthread_self() && !pEntry->m_bFreedByKey) SetFree(*pEntry);
  }
  if (s_iLoggers == 0) KeepFree(0);
}

void CWyThreadTracePool::DestroyFreeEntries() {
  const Lock lock;
  KeepFree(0);
}

// The threads may have been filling their records at that moment, so nobody uses those again. There
// is one thread, and the fork has found the pool at rest: no lock.
void CWyThreadTracePool::LoseEntriesOfOtherThreads() {
  for (ThreadTraceData* pEntry : Entries()) {
    if (pEntry->m_bFree || pEntry->m_thread == pthread_self()) continue;
    SetFree(*pEntry);
    pEntry->m_bFree = false;
    pEntry->m_thread = 0;
  }
}

ThreadTraceData* GetThreadTraceData() { return CWyThreadTracePool::Take(nullptr, true); }

void DestroyAllThreadTraceData() { CWyThreadTracePool::DestroyFreeEntries(); }

void FreeThreadTraceData(void* pEntry) {
  CWyThreadTracePool::Free(static_cast<ThreadTraceData*>(pEntry));
}
