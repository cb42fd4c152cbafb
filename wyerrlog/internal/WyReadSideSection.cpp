// The two sides of a read-side section. A reader enters, then tests whether the data is reachable;
// the remover makes the data unreachable, then tests whether a reader is inside. With sequential
// consistency at least one of the two sees the other.

#include "wyerrlog/internal/WyReadSideSection.h"

#include <sched.h>

// A child has none of the threads that were inside, but for the one that forked: a Scope that this
// one is in ends with a count below zero, which is why WaitForReaders compares with > 0.
CWyReadSideSection::CWyReadSideSection()
    : CWyForkReset([](CWyForkReset& object) {
        for (Slot& slot : static_cast<CWyReadSideSection&>(object).m_slots) {
          slot.lReaders.store(0, std::memory_order_relaxed);
        }
      }) {
  CWyForkRegistry::Add(*this);
}

CWyReadSideSection::~CWyReadSideSection() { CWyForkRegistry::Remove(*this); }

namespace {

constinit thread_local std::size_t t_uTurn = 0;

[[gnu::noinline, gnu::cold]] std::size_t TakeTurn() {
  static constinit std::atomic<std::size_t> s_uLastTurn{0};
  return t_uTurn = s_uLastTurn.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

// Threads take turns at the slots. A thread keeps the one it got first, so that its counter stays
// in its processor's cache. Any distribution is correct: it only spreads the load. Not inlined: the
// compiler would find the thread's number anew at each use, which is a call.
[[gnu::noinline]] std::size_t CWyReadSideSection::TurnOfThisThread() {
  return t_uTurn != 0 ? t_uTurn : TakeTurn();
}

// One slot after another: a reader that enters a slot already passed has found the data
// unreachable.
void CWyReadSideSection::WaitForReaders() const {
  for (const Slot& slot : m_slots) {
    while (slot.lReaders.load(std::memory_order_seq_cst) > 0) sched_yield();
  }
}
