#include <sched.h>
#include <unistd.h>

#include <unordered_set>

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
// inside a host's callback for as long as it likes.

namespace {

struct ForkState {
  CWyErrLogCriticalSection section;  // protects the sets
  std::unordered_set<CWyErrLogCriticalSection*> sections;
  std::unordered_set<CWyGuard*> guards;
  std::unordered_set<CWyReadSections*> readSections;
};

ForkState& State() {
  static ForkState& state = *new ForkState;  // used by threads that outlive main
  return state;
}

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
void Insert(std::unordered_set<T*> ForkState::*pSet, T& member) {
  const SectionLock lock(State().section);
  (State().*pSet).insert(&member);
}

template <typename T>
void Erase(std::unordered_set<T*> ForkState::*pSet, T& member) {
  const SectionLock lock(State().section);
  (State().*pSet).erase(&member);
}

constinit CWyImmortal<CWyErrLogCriticalSection> s_timeConversion;
constinit std::atomic<int> nPid{0};

// ---- The gate -----------------------------------------------------------------------------------

constinit CWyImmortal<CWyErrLogCriticalSection> s_gate;
constinit int s_iInsideGate = 0;  // of all threads, changed inside s_gate
thread_local int t_iInsideGate = 0;

// Leaves s_gate entered. Between two looks others may come and go: one that is inside may be
// waiting for another one that has yet to come.
void CloseGate() {
  s_gate.value.Enter();
  while (s_iInsideGate != t_iInsideGate) {
    s_gate.value.Leave();
    sched_yield();
    s_gate.value.Enter();
  }
}

// ---- The handlers -------------------------------------------------------------------------------

void BeforeFork() {
  CloseGate();
  ForkState& state = State();
  state.section.Enter();
  for (CWyErrLogCriticalSection* pSection : state.sections) pSection->Enter();
  s_timeConversion.value.Enter();
}

void AfterFork() {
  ForkState& state = State();
  s_timeConversion.value.Leave();
  for (CWyErrLogCriticalSection* pSection : state.sections) pSection->Leave();
  state.section.Leave();
  s_gate.value.Leave();
}

void AfterForkInChild() {
  ForkState& state = State();
  nPid.store(getpid(), std::memory_order_relaxed);
  for (CWyGuard* pGuard : state.guards) {
    pGuard->ResetInForkedChild(CWyGuardHold::OfThisThread(pGuard));
  }
  for (CWyReadSections* pSections : state.readSections) pSections->ResetInForkedChild();
  AfterFork();
}

// When the library is loaded, so that no fork can come before.
[[maybe_unused]] const int s_iInstalled =
    (State(), pthread_atfork(BeforeFork, AfterFork, AfterForkInChild));

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

void CWyForkRegistry::Add(CWyErrLogCriticalSection& cs) { Insert(&ForkState::sections, cs); }
void CWyForkRegistry::Remove(CWyErrLogCriticalSection& cs) { Erase(&ForkState::sections, cs); }

void CWyForkRegistry::Add(CWyGuard& guard) { Insert(&ForkState::guards, guard); }
void CWyForkRegistry::Remove(CWyGuard& guard) { Erase(&ForkState::guards, guard); }

void CWyForkRegistry::Add(CWyReadSections& sections) { Insert(&ForkState::readSections, sections); }
void CWyForkRegistry::Remove(CWyReadSections& sections) {
  Erase(&ForkState::readSections, sections);
}

CWyErrLogCriticalSection& WyTimeConversionSection() { return s_timeConversion.value; }

int WyProcessId() {
  int iPid = nPid.load(std::memory_order_relaxed);
  if (iPid == 0) {
    iPid = getpid();
    nPid.store(iPid, std::memory_order_relaxed);
  }
  return iPid;
}
