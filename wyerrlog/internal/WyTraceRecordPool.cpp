// Entries are few (one for each thread that traces, for each logger), so they are searched one
// after another. A thread finds its entry by a key of the logger, and enters the pool only for its
// first record. At the end of the thread an entry is freed by the logger's key, or by the watch
// that the pool keeps on every thread that has taken one.
//
// The states of an entry: free; taken, by one thread for one logger; orphaned, still the thread's,
// but its logger has been released; abandoned, in a forked child only, which is never used again.

#include "wyerrlog/internal/WyTraceRecordPool.h"

#include <algorithm>
#include <vector>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"
#include "wyerrlog/internal/WyNoThrow.h"

namespace {

// Entries added when none is free. An entry takes a few words; its record, of 70 KiB, is allocated
// when a thread takes it.
constexpr int EntriesPerExpansion = 30;

// The value of a thread-specific slot in threads that have taken an entry. Which value makes no
// difference, but it must not be null: the system calls the destructor for other values alone.
class CWyThreadEndWatch : public CpaTls {
 public:
  CWyThreadEndWatch() : CpaTls([](void*) { CWyTraceRecordPool::FreeEntriesOfThread(); }) {}

  // Returns false if the system has no memory to watch the thread.
  bool WatchThisThread() { return GetValue() != nullptr || SetValue(this) == 0; }

  static CWyThreadEndWatch& Get() {
    static CWyNeverDestroyed<CWyThreadEndWatch> s_watch;
    return s_watch.value;
  }
};

// Constructed when the library is loaded: keys may be used up later, and a child that is forked
// during the construction would wait for it forever.
[[maybe_unused]] const CWyThreadEndWatch& s_watch = CWyThreadEndWatch::Get();

using Entries = std::vector<ThreadTraceData*>;

bool Contains(const Entries& entries, const ThreadTraceData* pEntry) {
  return std::find(entries.begin(), entries.end(), pEntry) != entries.end();
}

// If memory allocation fails, adds fewer entries than intended, perhaps none.
void Expand(Entries& entries) {
  WyNoThrow(false, [&entries] {
    // The room first: push_back then cannot throw, and no entry is lost between two owners.
    entries.reserve(entries.size() + EntriesPerExpansion);
    for (int i = 0; i < EntriesPerExpansion; ++i) entries.push_back(new ThreadTraceData);
    return true;
  });
}

}  // namespace

// The entries. Threads may outlive main, so they are never destroyed.
class CWyTraceRecordPool::State : public CWyForkReset {
 public:
  constexpr State() : CWyForkReset(AbandonEntriesOfOtherThreads) {}

  static State& Get() {
    static constinit CWyNeverDestroyed<State> s_state;
    return s_state.value;
  }

  ThreadTraceData* FindFree() WYERRLOG_REQUIRES(m_mutex);
  void DestroyFreeBut(int iKept) WYERRLOG_REQUIRES(m_mutex);
  static void SetFree(ThreadTraceData& entry);

  CWyForkMutex m_mutex;
  Entries m_entries WYERRLOG_GUARDED_BY(m_mutex);
  int m_iLoggers WYERRLOG_GUARDED_BY(m_mutex) = 0;  // those that are initialised

 private:
  static void AbandonEntriesOfOtherThreads(CWyForkReset& object);
};

// Registered with the first logger: a process without one has nothing that a fork could damage.
void CWyTraceRecordPool::AddLogger() {
  State& state = State::Get();
  CWyForkRegistry::Add(state.m_mutex);
  CWyForkRegistry::Add(state);
  const CWyMutexLock lock(state.m_mutex);
  ++state.m_iLoggers;
}

// Records are filled without a lock, so a thread may be filling one of these at this moment. The
// entries stay with their threads, and the watch frees them in place of the key that is gone.
void CWyTraceRecordPool::RemoveLogger(const CWyLogger& logger) {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  for (ThreadTraceData* pEntry : state.m_entries) {
    if (!pEntry->IsOf(logger)) continue;
    pEntry->m_bOrphaned = true;
    pEntry->m_bFreedByKey = false;
  }
  if (--state.m_iLoggers == 0) state.DestroyFreeBut(0);
}

// Keeps the entries of one expansion: a host that constructs and destroys loggers in turn does not
// allocate the records again each time.
void CWyTraceRecordPool::FreeEntriesOf(const CWyLogger& logger) {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  for (ThreadTraceData* pEntry : state.m_entries) {
    if (pEntry->IsOf(logger)) State::SetFree(*pEntry);
  }
  state.DestroyFreeBut(state.m_iLoggers > 0 ? EntriesPerExpansion : 0);
}

ThreadTraceData* CWyTraceRecordPool::Find(const CWyLogger& logger) {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  for (ThreadTraceData* pEntry : state.m_entries) {
    if (pEntry->IsOf(logger) && !pEntry->m_bOrphaned && pEntry->m_thread == pthread_self()) {
      return pEntry;
    }
  }
  return nullptr;
}

ThreadTraceData* CWyTraceRecordPool::Take(const CWyLogger* pLogger, bool bFreedByKey) {
  // First: an entry of a thread that is not watched would never be free again. Thread ids are
  // reused, so a later thread would even find it as its own.
  if (!CWyThreadEndWatch::Get().WatchThisThread()) return nullptr;
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  ThreadTraceData* pEntry = state.FindFree();
  if (pEntry == nullptr) {
    // Compared afterwards, because an expansion may add fewer entries than intended.
    const std::size_t uOldCount = state.m_entries.size();
    Expand(state.m_entries);
    if (state.m_entries.size() == uOldCount) return nullptr;
    pEntry = state.m_entries[uOldCount];
  }
  // Before the entry changes: if this fails it is still free.
  if (!pEntry->AllocateRecord()) return nullptr;
  pEntry->m_bFree = false;
  pEntry->m_thread = pthread_self();
  pEntry->m_pLogger = pLogger;
  pEntry->m_bOrphaned = false;
  pEntry->m_bFreedByKey = bFreedByKey;
  // The last thread that had it may have ended in the middle of a record.
  pEntry->m_pRecord->LeaveNoBody();
  return pEntry;
}

// A record stays with its entry, so that a new thread gets the memory of one that has ended.
bool ThreadTraceData::AllocateRecord() {
  if (m_pRecord != nullptr) return true;
  return WyNoThrow(false, [this] {
    m_pRecord = std::make_unique<CWyTraceData>();
    return true;
  });
}

void CWyTraceRecordPool::Free(ThreadTraceData* pEntry) {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  // The logger may have been destroyed since the thread began to end, and the entry with it, or
  // another thread may have it by now. An entry without a logger may be freed by any thread.
  if (!Contains(state.m_entries, pEntry)) return;
  if (pEntry->m_pLogger == nullptr || pEntry->m_thread == pthread_self()) State::SetFree(*pEntry);
}

// Not those that a key frees. The key's value still points at such an entry, and a destructor of
// the host that runs later may trace: it would fill a record that another thread has taken.
void CWyTraceRecordPool::FreeEntriesOfThread() {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  for (ThreadTraceData* pEntry : state.m_entries) {
    if (pEntry->m_thread == pthread_self() && !pEntry->m_bFreedByKey) State::SetFree(*pEntry);
  }
  if (state.m_iLoggers == 0) state.DestroyFreeBut(0);
}

void CWyTraceRecordPool::DestroyFreeEntries() {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  state.DestroyFreeBut(0);
}

// ---- The entries --------------------------------------------------------------------------------

// An entry that this thread had for a logger that is gone comes before the free ones, so that a
// thread that uses many loggers in turn needs one entry.
ThreadTraceData* CWyTraceRecordPool::State::FindFree() {
  ThreadTraceData* pFree = nullptr;
  for (ThreadTraceData* pEntry : m_entries) {
    if (pEntry->m_bOrphaned && pEntry->m_thread == pthread_self()) return pEntry;
    if (pFree == nullptr && pEntry->m_bFree) pFree = pEntry;
  }
  return pFree;
}

void CWyTraceRecordPool::State::SetFree(ThreadTraceData& entry) {
  entry.m_pLogger = nullptr;
  entry.m_bOrphaned = false;
  entry.m_bFreedByKey = false;
  entry.m_bFree = true;
}

void CWyTraceRecordPool::State::DestroyFreeBut(int iKept) {
  std::erase_if(m_entries, [&iKept](ThreadTraceData* pEntry) {
    if (!pEntry->m_bFree || iKept-- > 0) return false;
    delete pEntry;
    return true;
  });
  if (m_entries.empty()) m_entries.shrink_to_fit();
}

// In a forked child, whose one thread has locked the mutex before the fork. The other threads may
// have been filling their records, so those are neither used again nor destroyed: each fork costs
// the child their memory.
void CWyTraceRecordPool::State::AbandonEntriesOfOtherThreads(CWyForkReset& object)
    WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
  for (ThreadTraceData* pEntry : static_cast<State&>(object).m_entries) {
    if (pEntry->m_bFree || pEntry->m_thread == pthread_self()) continue;
    SetFree(*pEntry);
    pEntry->m_bFree = false;
    pEntry->m_thread = 0;
  }
}
