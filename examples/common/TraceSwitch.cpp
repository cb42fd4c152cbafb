// The shared memory is anonymous: it has no name that could be left behind, and ends with the last
// process that maps it.

#include "TraceSwitch.h"

#include <sys/mman.h>

#include <cerrno>
#include <new>
#include <system_error>

TraceSwitch::TraceSwitch(bool bOn) {
  void* const p =
      mmap(nullptr, sizeof *m_puShared, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "mmap");
  m_puShared = new (p) std::atomic<unsigned int>(bOn ? 1 : 0);
}

TraceSwitch::~TraceSwitch() { munmap(m_puShared, sizeof *m_puShared); }

void TraceSwitch::Turn(bool bOn) {
  unsigned int uBefore = m_puShared->load();
  unsigned int uAfter = 0;
  do {
    const bool bWasOn = uBefore % 2 == 1;
    uAfter = uBefore + (bWasOn == bOn ? 2 : 1);
  } while (!m_puShared->compare_exchange_weak(uBefore, uAfter));
}

void TraceSwitch::Follow(const AgentLog& log) {
  const unsigned int uWanted = m_puShared->load(std::memory_order_acquire);
  if (uWanted == m_uFollowed.load(std::memory_order_acquire)) return;
  const std::unique_lock turning(m_turning, std::try_to_lock);
  if (!turning.owns_lock() || uWanted == m_uFollowed.load(std::memory_order_relaxed)) return;
  if (uWanted % 2 == 1) {
    log.TurnTracingOn();
  } else {
    log.TurnTracingOff();
  }
  m_uFollowed.store(uWanted, std::memory_order_release);
}
