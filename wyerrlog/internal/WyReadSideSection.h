#ifndef WYERRLOG_INTERNAL_WYREADSIDESECTION_H
#define WYERRLOG_INTERNAL_WYREADSIDESECTION_H

// Lock-free reading of data that is almost never removed, in the manner of RCU (read-copy-update).

#include <array>
#include <atomic>

#include "wyerrlog/internal/WyForkHandling.h"

// A reader is inside the section while it uses the data. The remover makes the data unreachable,
// then waits until every reader that was inside has left. Readers never wait, and are counted on
// separate cache lines, so that they do not slow each other down. A forked child finds no reader
// inside.
class CWyReadSideSection : public CWyForkReset {
 public:
  CWyReadSideSection();
  ~CWyReadSideSection();
  CWyReadSideSection(const CWyReadSideSection&) = delete;
  CWyReadSideSection& operator=(const CWyReadSideSection&) = delete;

  // Keeps the calling thread inside for a scope. Scopes may be nested.
  class Scope {
   public:
    explicit Scope(CWyReadSideSection& section) : Scope(&section) {}
    explicit Scope(CWyReadSideSection* pSection)  // null: no section, no effect
        : m_plReaders(pSection != nullptr ? &pSection->SlotOfThisThread().lReaders : nullptr) {
      if (m_plReaders != nullptr) m_plReaders->fetch_add(1, std::memory_order_seq_cst);
    }
    // Release: what the reader did with the data comes before the remover's look that finds it
    // gone.
    ~Scope() {
      if (m_plReaders != nullptr) m_plReaders->fetch_sub(1, std::memory_order_release);
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    std::atomic<long>* m_plReaders;
  };

  // Returns when every reader that was inside before the call has left. Spins with sched_yield(2):
  // what readers do here takes microseconds, and never waits for anything outside the process.
  void WaitForReaders() const;

 private:
  // The size of a cache line on x86-64.
  struct alignas(64) Slot {
    std::atomic<long> lReaders{0};
  };
  Slot& SlotOfThisThread() { return m_slots[TurnOfThisThread() % m_slots.size()]; }
  static std::size_t TurnOfThisThread();

  // As many as threads usually read at once; more share slots.
  std::array<Slot, 16> m_slots;
};

#endif
