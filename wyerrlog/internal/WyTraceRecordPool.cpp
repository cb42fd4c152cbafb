// There is an entry for each thread that traces, for each logger. A thread remembers the records
// that it used last; the others it finds by an index of the loggers. At the end of the thread its
// entries are freed by the watch that the pool keeps on every thread that has taken one. Loggers
// have no thread-specific keys of their own: a process has 1,024, and may have more loggers.
//
// The states of an entry: free; taken, by one thread for one logger; orphaned, still the thread's,
// but its logger has been released; abandoned, in a forked child only, which is never used again.

#include "wyerrlog/internal/WyTraceRecordPool.h"

#include <algorithm>
#include <array>
#include <utility>
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

// The records that a thread used last, by the initialisation number of their loggers. Of plain
// values: destructors of the host trace when the thread's other objects are gone.
struct LastRecord {
  std::uint64_t uInitialisation = 0;
  CWyTraceData* pRecord = nullptr;
};
using LastRecords = std::array<LastRecord, 16>;
constinit thread_local LastRecords t_last{};

// Not inlined: the compiler would find the thread's object anew at each use, which is a call.
[[gnu::noinline]] LastRecords& LastOfThread() { return t_last; }

LastRecord& LastOf(std::uint64_t uInitialisation) {
  return LastOfThread()[uInitialisation % std::tuple_size_v<LastRecords>];
}

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
  void SetFree(ThreadTraceData& entry) WYERRLOG_REQUIRES(m_mutex);
  void SetLogger(ThreadTraceData& entry, const CWyLogger* pLogger) WYERRLOG_REQUIRES(m_mutex);

  // The first entry of those loggers; the others follow by m_pNext.
  ThreadTraceData*& Chain(const CWyLogger* pLogger) WYERRLOG_REQUIRES(m_mutex) {
    // Loggers of the registry lie some pages apart.
    const auto uPlace = reinterpret_cast<std::uintptr_t>(pLogger) / 64;
    return m_index[uPlace * 0x9E3779B97F4A7C15u >> 54];
  }

  CWyForkMutex m_mutex;
  Entries m_entries WYERRLOG_GUARDED_BY(m_mutex);
  int m_iLoggers WYERRLOG_GUARDED_BY(m_mutex) = 0;  // those that are initialised

 private:
  std::array<ThreadTraceData*, 1024> m_index WYERRLOG_GUARDED_BY(m_mutex){};

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
// entries stay with their threads.
void CWyTraceRecordPool::RemoveLogger(const CWyLogger& logger) {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  for (ThreadTraceData* p = state.Chain(&logger); p != nullptr; p = p->m_pNext) {
    if (p->IsOf(logger)) p->m_bOrphaned = true;
  }
  if (--state.m_iLoggers == 0) state.DestroyFreeBut(0);
}

// Keeps the entries of one expansion: a host that constructs and destroys loggers in turn does not
// allocate the records again each time.
void CWyTraceRecordPool::FreeEntriesOf(const CWyLogger& logger) {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  for (ThreadTraceData *p = state.Chain(&logger), *pNext; p != nullptr; p = pNext) {
    pNext = p->m_pNext;
    if (p->IsOf(logger)) state.SetFree(*p);
  }
  state.DestroyFreeBut(state.m_iLoggers > 0 ? EntriesPerExpansion : 0);
}

ThreadTraceData* CWyTraceRecordPool::Find(const CWyLogger& logger) {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  for (ThreadTraceData* p = state.Chain(&logger); p != nullptr; p = p->m_pNext) {
    if (p->IsOf(logger) && !p->m_bOrphaned && p->m_thread == pthread_self()) return p;
  }
  return nullptr;
}

CWyTraceData* CWyTraceRecordPool::LastOfThisThread(std::uint64_t uInitialisation) {
  const LastRecord& last = LastOf(uInitialisation);
  return last.uInitialisation == uInitialisation ? last.pRecord : nullptr;
}

void CWyTraceRecordPool::SetLastOfThisThread(std::uint64_t uInitialisation, CWyTraceData* pRecord) {
  LastOf(uInitialisation) = {uInitialisation, pRecord};
}

ThreadTraceData* CWyTraceRecordPool::Take(const CWyLogger* pLogger) {
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
  pEntry->m_bOrphaned = false;
  state.SetLogger(*pEntry, pLogger);
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
  // It may have been freed before, and another thread may have it by now.
  if (Contains(state.m_entries, pEntry) && pEntry->m_pLogger == nullptr) state.SetFree(*pEntry);
}

// A destructor of the host that runs later may trace: it takes an entry again, and the system calls
// the watch's destructor again.
void CWyTraceRecordPool::FreeEntriesOfThread() {
  State& state = State::Get();
  const CWyMutexLock lock(state.m_mutex);
  for (ThreadTraceData* pEntry : state.m_entries) {
    if (pEntry->m_thread == pthread_self() && pEntry->m_pLogger != nullptr) state.SetFree(*pEntry);
  }
  LastOfThread() = {};
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
  SetLogger(entry, nullptr);
  entry.m_bOrphaned = false;
  entry.m_bFree = true;
}

void CWyTraceRecordPool::State::SetLogger(ThreadTraceData& entry, const CWyLogger* pLogger) {
  if (entry.m_pLogger != nullptr) {
    ThreadTraceData** ppEntry = &Chain(entry.m_pLogger);
    while (*ppEntry != &entry) ppEntry = &(*ppEntry)->m_pNext;
    *ppEntry = entry.m_pNext;
  }
  entry.m_pLogger = pLogger;
  if (pLogger != nullptr) entry.m_pNext = std::exchange(Chain(pLogger), &entry);
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
  auto& state = static_cast<State&>(object);
  for (ThreadTraceData* pEntry : state.m_entries) {
    if (pEntry->m_bFree || pEntry->m_thread == pthread_self()) continue;
    state.SetFree(*pEntry);
    pEntry->m_bFree = false;
    pEntry->m_thread = 0;
  }
}
