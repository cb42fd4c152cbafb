#include "wyerrlog/WyThreadTraceData.h"

#include <new>
#include <vector>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyLogger.h"

namespace {

constexpr int TRACEDATA_SIZE_INC = 30;

// Threads may outlive main, so nothing of this is ever destroyed.
constinit CWyImmortal<CWyErrLogCriticalSection> TTraceDataCS;
constinit CWyImmortal<std::vector<ThreadTraceData*>> TTraceData;
constinit int s_iLoggers = 0;
constinit int s_iProcess = 0;  // the process whose threads have the entries

// Gives entries back that no key does at the end of a thread.
struct ThreadEnd {
  bool bWatched = false;
  ~ThreadEnd() { CWyThreadTracePool::FreeLeftEntries(); }
};

thread_local ThreadEnd t_threadEnd;

std::vector<ThreadTraceData*>& Entries() { return TTraceData.value; }

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
    if (pEntry->m_pLogger != &logger) continue;
    pEntry->m_pLogger = nullptr;
    pEntry->m_bFreedByKey = false;
  }
  --s_iLoggers;
}

ThreadTraceData* CWyThreadTracePool::Find(const CWyLogger& logger) {
  const Lock lock;
  for (ThreadTraceData* pEntry : Entries()) {
    if (pEntry->m_pLogger == &logger && pEntry->m_thread == pthread_self()) return pEntry;
  }
  return nullptr;
}

ThreadTraceData* CWyThreadTracePool::Take(const CWyLogger* pLogger, bool bFreedByKey) {
  t_threadEnd.bWatched = true;
  const Lock lock;
  ReclaimAfterFork();
  ThreadTraceData* pEntry = FindFree();
  if (pEntry == nullptr) {
    const std::size_t uOldCount = Entries().size();
    Expand();
    if (Entries().size() == uOldCount) return nullptr;
    pEntry = Entries()[uOldCount];
  }
  pEntry->m_bFree = false;
  pEntry->m_thread = pthread_self();
  pEntry->m_pLogger = pLogger;
  pEntry->m_bFreedByKey = bFreedByKey;
  return pEntry;
}

// An entry that this thread had for a logger that is gone comes before the free ones, so that a
// thread that goes through many loggers needs one entry.
ThreadTraceData* CWyThreadTracePool::FindFree() {
  ThreadTraceData* pFree = nullptr;
  for (ThreadTraceData* pEntry : Entries()) {
    const bool bLeft = !pEntry->m_bFree && pEntry->m_pLogger == nullptr && !pEntry->m_bFreedByKey &&
                       pEntry->m_thread == pthread_self();
    if (bLeft) return pEntry;
    if (pFree == nullptr && pEntry->m_bFree) pFree = pEntry;
  }
  return pFree;
}

void CWyThreadTracePool::Expand() {
  try {
    Entries().reserve(Entries().size() + TRACEDATA_SIZE_INC);
    for (int i = 0; i < TRACEDATA_SIZE_INC; ++i) Entries().push_back(new ThreadTraceData);
  } catch (const std::bad_alloc&) {
    // Fewer entries than wanted, perhaps none: the caller looks.
  }
}

// In a forked child the entries of the parent's other threads belong to nobody.
void CWyThreadTracePool::ReclaimAfterFork() {
  if (s_iProcess == WyProcessId()) return;
  s_iProcess = WyProcessId();
  for (ThreadTraceData* pEntry : Entries()) {
    if (pEntry->m_thread != pthread_self()) pEntry->m_bFree = true;
  }
}

void CWyThreadTracePool::Free(ThreadTraceData& entry) {
  const Lock lock;
  entry.m_pLogger = nullptr;
  entry.m_bFreedByKey = false;
  entry.m_bFree = true;
}

void CWyThreadTracePool::FreeLeftEntries() {
  {
    const Lock lock;
    for (ThreadTraceData* pEntry : Entries()) {
      if (pEntry->m_thread != pthread_self() || pEntry->m_bFreedByKey) continue;
      pEntry->m_pLogger = nullptr;
      pEntry->m_bFree = true;
    }
    if (s_iLoggers > 0) return;
  }
  DestroyFreeEntries();
}

void CWyThreadTracePool::DestroyFreeEntries() {
  const Lock lock;
  std::erase_if(Entries(), [](ThreadTraceData* pEntry) {
    if (!pEntry->m_bFree) return false;
    delete pEntry;
    return true;
  });
  if (Entries().empty()) Entries().shrink_to_fit();
}

ThreadTraceData* GetThreadTraceData() { return CWyThreadTracePool::Take(nullptr, true); }

void DestroyAllThreadTraceData() { CWyThreadTracePool::DestroyFreeEntries(); }

void FreeThreadTraceData(void* pEntry) {
  if (pEntry != nullptr) CWyThreadTracePool::Free(*static_cast<ThreadTraceData*>(pEntry));
}
