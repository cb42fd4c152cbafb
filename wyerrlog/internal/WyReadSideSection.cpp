// The two sides of a read-side section. To enter and to make the data unreachable are both followed
// by a look at what the other side has done: sequential consistency guarantees that at least one of
// the two sees the other.

#include "wyerrlog/internal/WyReadSideSection.h"

#include <sched.h>

namespace {

// Threads take turns at the slots. A thread keeps the one it got first.
std::size_t SlotOfThisThread(std::size_t uSlots) {
  static constinit std::atomic<std::size_t> s_uLastTurn{0};
  static constinit thread_local std::size_t s_uTurn = 0;
  if (s_uTurn == 0) s_uTurn = s_uLastTurn.fetch_add(1, std::memory_order_relaxed) + 1;
  return s_uTurn % uSlots;
}

}  // namespace

CWyReadSideSection::CWyReadSideSection()
    : CWyForkReset([](CWyForkReset& object) {
        for (Slot& slot : static_cast<CWyReadSideSection&>(object).m_slots) {
          slot.lReaders.store(0, std::memory_order_relaxed);
        }
      }) {
  CWyForkRegistry::Add(*this);
}

CWyReadSideSection::~CWyReadSideSection() { CWyForkRegistry::Remove(*this); }

CWyReadSideSection::Scope::Scope(CWyReadSideSection* pSection) : m_plReaders(nullptr) {
  if (pSection == nullptr) return;
  m_plReaders = &pSection->m_slots[SlotOfThisThread(pSection->m_slots.size())].lReaders;
  m_plReaders->fetch_add(1, std::memory_order_seq_cst);
}

CWyReadSideSection::Scope::~Scope() {
  if (m_plReaders != nullptr) m_plReaders->fetch_sub(1, std::memory_order_release);
}

void CWyReadSideSection::WaitForReaders() const {
  for (const Slot& slot : m_slots) {
    while (slot.lReaders.load(std::memory_order_seq_cst) > 0) sched_yield();
  }
}
