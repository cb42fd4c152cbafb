#include <sched.h>
#include <unistd.h>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyErrLogUtil.h"

// A fork copies the memory as it is at that moment and only the thread that forks. Three things
// make the copy usable:
//
//   before   no other thread is inside a gate section or a registered critical section, or inside a
//            conversion of the C library; nobody can enter one until the fork is over;
//   after    both processes leave the sections;
//   child    guards forget the holds and the waiting of the threads that do not exist there.
//
// Readers of a guard are not waited for: they change nothing that a guard protects, and they may be
// inside a host's callback for as long as it likes. Neither are writers inside a host's Open or
// Close, nor threads that fork as well.

namespace {

// The members of one kind. A ring through the list itself.
template <typename T>
class ForkList {
 public:
  void Add(T& member) {
    if (member.m_pNext != nullptr) return;
    member.m_pNext = &m_ends;
    member.m_pPrevious = m_ends.m_pPrevious;
    m_ends.m_pPrevious->m_pNext = &member;
    m_ends.m_pPrevious = &member;
  }

  void Remove(T& member) {
    if (member.m_pNext == nullptr) return;
    member.m_pNext->m_pPrevious = member.m_pPrevious;
    member.m_pPrevious->m_pNext = member.m_pNext;
    member.m_pNext = member.m_pPrevious = nullptr;
  }

  template <typename Step>
  void ForEach(Step step) {
    for (CWyForkLink* p = m_ends.m_pNext; p != &m_ends; p = p->m_pNext) step(static_cast<T&>(*p));
  }

 private:
  CWyForkLink m_ends{&m_ends, &m_ends};
};

// Used by threads that outlive main.
constinit CWyImmortal<CWyErrLogCriticalSection> s_listSection;  // protects the lists
constinit CWyImmortal<ForkList<CWyErrLogCriticalSection>> s_sections;
constinit CWyImmortal<ForkList<CWyGuard>> s_guards;
constinit CWyImmortal<ForkList<CWyReadSections>> s_readSections;

class SectionLock {
 public:
  explicit SectionLock(CWyErrLogCriticalSection& section) : m_section(section) {
    m_section.Enter();
  }
  ~SectionLock() { m_section.Leave(); }
  SectionLock(const SectionLock&) = delete;
  SectionLock& operator=(const SectionLock&) = delete;

 private:
  CWyErrLogCriticalSection& m_section;
};

template <typename T>
void Insert(CWyImmortal<ForkList<T>>& list, T& member) {
  const SectionLock lock(s_listSection.value);
  list.value.Add(member);
}

template <typename T>
void Erase(CWyImmortal<ForkList<T>>& list, T& member) {
  const SectionLock lock(s_listSection.value);
  list.value.Remove(member);
}

constinit CWyImmortal<CWyErrLogCriticalSection> s_timeConversion;
constinit std::atomic<int> nPid{0};

// ---- The gate -----------------------------------------------------------------------------------

constinit CWyImmortal<CWyErrLogCriticalSection> s_gate;
constinit int s_iInsideGate = 0;  // sections of all threads, changed inside s_gate
constinit int s_iForking = 0;     // those of threads that fork from inside them; as well
thread_local int t_iInsideGate = 0;

// Leaves s_gate entered. Between two looks others may come and go: one that is inside may be
// waiting for another one that has yet to come. Those that fork as well, in a component that is
// being loaded, say, would wait for this thread in turn.
void CloseGate() {
  s_gate.value.Enter();
  s_iForking += t_iInsideGate;
  while (s_iInsideGate != s_iForking) {
    s_gate.value.Leave();
    sched_yield();
    s_gate.value.Enter();
  }
}

// ---- The handlers -------------------------------------------------------------------------------

void BeforeFork() {
  CloseGate();
  s_listSection.value.Enter();
  s_sections.value.ForEach([](CWyErrLogCriticalSection& section) { section.Enter(); });
  s_timeConversion.value.Enter();
}

void AfterFork() {
  s_timeConversion.value.Leave();
  s_sections.value.ForEach([](CWyErrLogCriticalSection& section) { section.Leave(); });
  s_listSection.value.Leave();
  s_iForking -= t_iInsideGate;
  s_gate.value.Leave();
}

void AfterForkInChild() {
  nPid.store(getpid(), std::memory_order_relaxed);
  s_guards.value.ForEach(
      [](CWyGuard& guard) { guard.ResetInForkedChild(CWyGuardHold::OfThisThread(&guard)); });
  s_readSections.value.ForEach([](CWyReadSections& sections) { sections.ResetInForkedChild(); });
  s_iInsideGate = s_iForking = t_iInsideGate;
  AfterFork();
}

// When the library is loaded, so that no fork can come before.
[[maybe_unused]] const int s_iInstalled = pthread_atfork(BeforeFork, AfterFork, AfterForkInChild);

}  // namespace

void CWyForkGate::Move(int iSections) {
  const SectionLock lock(s_gate.value);
  s_iInsideGate += iSections;
  t_iInsideGate += iSections;
}

void CWyForkGate::Enter() { Move(1); }

void CWyForkGate::Leave() { Move(-1); }

CWyForkGate::Outside::Outside() : m_iSections(t_iInsideGate) { Move(-m_iSections); }

CWyForkGate::Outside::~Outside() { Move(m_iSections); }

void CWyForkRegistry::Add(CWyErrLogCriticalSection& cs) { Insert(s_sections, cs); }
void CWyForkRegistry::Remove(CWyErrLogCriticalSection& cs) { Erase(s_sections, cs); }

void CWyForkRegistry::Add(CWyGuard& guard) { Insert(s_guards, guard); }
void CWyForkRegistry::Remove(CWyGuard& guard) { Erase(s_guards, guard); }

void CWyForkRegistry::Add(CWyReadSections& sections) { Insert(s_readSections, sections); }
void CWyForkRegistry::Remove(CWyReadSections& sections) { Erase(s_readSections, sections); }

CWyErrLogCriticalSection& WyTimeConversionSection() { return s_timeConversion.value; }

int WyProcessId() {
  int iPid = nPid.load(std::memory_order_relaxed);
  if (iPid == 0) {
    iPid = getpid();
    nPid.store(iPid, std::memory_order_relaxed);
  }
  return iPid;
}
