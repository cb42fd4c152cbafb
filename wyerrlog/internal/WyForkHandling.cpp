// A fork copies the memory as it is at that moment, and only the thread that forks. Three steps
// make the copy usable:
//
//   before   waits until no other thread is inside a gate, a registered mutex or a conversion of a
//            time; none can enter one until the fork is over;
//   after    both processes leave all of them;
//   child    registered objects forget the threads that do not exist there.
//
// A fork does not wait for readers of a guard: they change nothing that a guard protects, and they
// may be inside a callback of the host for as long as it likes. Nor does it wait for writers inside
// a host's Open or Close (CWyForkGate::Outside), nor for other threads that fork.

#include "wyerrlog/internal/WyForkHandling.h"

#include <sched.h>
#include <unistd.h>

#include <atomic>

#include "wyerrlog/internal/WyNeverDestroyed.h"

namespace {

// ---- The registered objects ---------------------------------------------------------------------

// A ring through the registered objects and this list itself; nothing is allocated.
template <typename T>
class CWyForkList {
 public:
  void Add(T& object) {
    CWyForkLink& link = object;
    if (link.m_pNext != nullptr) return;
    link.m_pNext = &m_ends;
    link.m_pPrevious = m_ends.m_pPrevious;
    m_ends.m_pPrevious->m_pNext = &link;
    m_ends.m_pPrevious = &link;
  }

  void Remove(T& object) {
    CWyForkLink& link = object;
    if (link.m_pNext == nullptr) return;
    link.m_pNext->m_pPrevious = link.m_pPrevious;
    link.m_pPrevious->m_pNext = link.m_pNext;
    link.m_pNext = link.m_pPrevious = nullptr;
  }

  template <typename Step>
  void ForEach(Step step) {
    for (CWyForkLink* p = m_ends.m_pNext; p != &m_ends; p = p->m_pNext) step(static_cast<T&>(*p));
  }

 private:
  CWyForkLink m_ends{&m_ends, &m_ends};
};

constinit CWyNeverDestroyed<CWyMutex> s_listMutex;
constinit CWyNeverDestroyed<CWyForkList<CWyForkMutex>> s_mutexes;
constinit CWyNeverDestroyed<CWyForkList<CWyForkReset>> s_resets;

template <typename T>
void Insert(CWyForkList<T>& list, T& object) {
  const CWyMutexLock lock(s_listMutex.value);
  list.Add(object);
}

template <typename T>
void Erase(CWyForkList<T>& list, T& object) {
  const CWyMutexLock lock(s_listMutex.value);
  list.Remove(object);
}

constinit CWyNeverDestroyed<CWyMutex> s_timeConversion;

// ---- The gate -----------------------------------------------------------------------------------

constinit CWyNeverDestroyed<CWyMutex> s_gate;
// How often all threads have entered, and how often those that are about to fork. One mutex and two
// counts instead of a reader-writer lock: a thread may enter again, and may fork inside.
constinit int s_iEntered WYERRLOG_GUARDED_BY(s_gate.value) = 0;
constinit int s_iForking WYERRLOG_GUARDED_BY(s_gate.value) = 0;
thread_local int t_iEntered = 0;  // the calling thread

// Leaves s_gate locked. It is unlocked between two looks, because a thread that is inside may be
// waiting for one that has yet to enter. Threads that are inside and fork too (in a component that
// is being loaded, for instance) would wait for this one in turn, so they are not waited for.
void CloseGate() WYERRLOG_ACQUIRE(s_gate.value) {
  s_gate.value.lock();
  s_iForking += t_iEntered;
  while (s_iEntered != s_iForking) {
    s_gate.value.unlock();
    sched_yield();
    s_gate.value.lock();
  }
}

// ---- The handlers -------------------------------------------------------------------------------

// The locks taken before the fork are released after it, in another function: the analysis of
// thread safety looks at one function at a time.

// The gate first: a thread inside it may need the mutexes to leave. The list's mutex next, so that
// the list is the same before and after. The time conversion last: it is locked with others held.
void BeforeFork() WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
  CloseGate();
  s_listMutex.value.lock();
  s_mutexes.value.ForEach([](CWyForkMutex& mutex)
                              WYERRLOG_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(); });
  s_timeConversion.value.lock();
  g_uForks.fetch_add(1, std::memory_order_relaxed);
}

void AfterFork() WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
  s_timeConversion.value.unlock();
  s_mutexes.value.ForEach([](CWyForkMutex& mutex)
                              WYERRLOG_NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); });
  s_listMutex.value.unlock();
  s_iForking -= t_iEntered;
  s_gate.value.unlock();
}

// The resets come first, with the mutexes still held: the child has one thread for certain only
// until the last handler returns.
void AfterForkInChild() WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
  g_iProcessId.store(getpid(), std::memory_order_relaxed);
  s_resets.value.ForEach([](CWyForkReset& object) { object.ResetInForkedChild(); });
  s_iEntered = s_iForking = t_iEntered;
  AfterFork();
}

// Installed when the library is loaded, so that no fork can come before.
[[maybe_unused]] const int s_iInstalled = pthread_atfork(BeforeFork, AfterFork, AfterForkInChild);

}  // namespace

void CWyForkRegistry::Add(CWyForkMutex& mutex) { Insert(s_mutexes.value, mutex); }
void CWyForkRegistry::Remove(CWyForkMutex& mutex) { Erase(s_mutexes.value, mutex); }

void CWyForkRegistry::Add(CWyForkReset& object) { Insert(s_resets.value, object); }
void CWyForkRegistry::Remove(CWyForkReset& object) { Erase(s_resets.value, object); }

void CWyForkGate::Move(int iEntered) {
  const CWyMutexLock lock(s_gate.value);
  s_iEntered += iEntered;
  t_iEntered += iEntered;
}

void CWyForkGate::Enter() { Move(1); }

void CWyForkGate::Leave() { Move(-1); }

CWyForkGate::Outside::Outside() : m_iEntered(t_iEntered) { Move(-m_iEntered); }

CWyForkGate::Outside::~Outside() { Move(m_iEntered); }

CWyMutex& WyTimeConversionMutex() { return s_timeConversion.value; }

constinit std::atomic<int> g_iProcessId{0};

// getpid(2) is a system call each time, so its result is kept; a child's is stored by its handler.
// Threads that come first at the same time store the same number.
int WyAskForProcessId() {
  const int iPid = getpid();
  g_iProcessId.store(iPid, std::memory_order_relaxed);
  return iPid;
}
