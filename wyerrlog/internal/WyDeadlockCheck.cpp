// The holds of each thread are a list of its own, which no other thread changes. Only the waits are
// shared: a list of the threads that hold a guard and wait for another, which is short, because
// host code that holds a guard seldom needs another one. A wait that would close a cycle is never
// entered into the list, so the search through it always ends.

#include "wyerrlog/internal/WyDeadlockCheck.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

#include "wyerrlog/internal/WyForkHandling.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"

// ---- Holds --------------------------------------------------------------------------------------

namespace {

// Constant-initialized and without a destructor: threads may log while their other objects are
// destroyed.
constinit thread_local CWyGuardHold* t_pInnermostHold = nullptr;

}  // namespace

CWyGuardHold*& CWyGuardHold::InnermostOfThisThread() { return t_pInnermostHold; }

int CWyGuardHold::OfThisThread(const CWyGuard* pGuard) {
  for (const CWyGuardHold* pHold = t_pInnermostHold; pHold != nullptr; pHold = pHold->m_pOuter) {
    if (pHold->m_pGuard == pGuard) return pHold->m_iKind;
  }
  return 0;
}

bool CWyGuardHold::Includes(const CWyGuard* pGuard) const {
  return m_pGuard == pGuard || (m_pOuter != nullptr && m_pOuter->Includes(pGuard));
}

// ---- Waits --------------------------------------------------------------------------------------

// The waits of all threads.
class CWyGuardWait::List : public CWyForkReset {
 public:
  constexpr List() : CWyForkReset(KeepThoseOfThisThread) {}

  // Enters the wait unless it would close a cycle. Returns whether it has. Test and entry are one
  // step under the mutex: of two threads that would wait for each other, the second one finds the
  // first.
  bool AddIfAllowed(CWyGuardWait& wait) {
    // Registered here: a process without waits has nothing that a fork could damage.
    CWyForkRegistry::Add(m_mutex);
    CWyForkRegistry::Add(*this);
    const CWyMutexLock lock(m_mutex);
    for (const CWyGuard* pGuard : wait.m_apGuards) {
      if (EndsAtThisThread(pGuard)) return false;
    }
    wait.m_pNext = std::exchange(m_pFirst, &wait);
    return true;
  }

  void Remove(const CWyGuardWait& wait) {
    const CWyMutexLock lock(m_mutex);
    CWyGuardWait** ppWait = &m_pFirst;
    while (*ppWait != &wait) ppWait = &(*ppWait)->m_pNext;
    *ppWait = wait.m_pNext;
  }

 private:
  // Whether a thread that waits for the guard waits, directly or through others, for the calling
  // thread. The list of holds that a wait refers to may be read here: it stays as it is until the
  // wait is removed, which takes the mutex.
  bool EndsAtThisThread(const CWyGuard* pGuard) WYERRLOG_REQUIRES(m_mutex) {
    if (pGuard == nullptr) return false;
    if (CWyGuardHold::OfThisThread(pGuard) != 0) return true;
    for (const CWyGuardWait* pWait = m_pFirst; pWait != nullptr; pWait = pWait->m_pNext) {
      if (!pWait->m_pHolds->Includes(pGuard)) continue;
      for (const CWyGuard* pNext : pWait->m_apGuards) {
        if (EndsAtThisThread(pNext)) return true;
      }
    }
    return false;
  }

  // In a forked child, whose one thread has locked the mutex before the fork. The waits of other
  // threads are on stacks that no thread uses any more.
  static void KeepThoseOfThisThread(CWyForkReset& object) WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
    for (CWyGuardWait** ppWait = &static_cast<List&>(object).m_pFirst; *ppWait != nullptr;) {
      if ((*ppWait)->m_ulThread == pthread_self()) {
        ppWait = &(*ppWait)->m_pNext;
      } else {
        *ppWait = (*ppWait)->m_pNext;
      }
    }
  }

  CWyForkMutex m_mutex;
  CWyGuardWait* m_pFirst WYERRLOG_GUARDED_BY(m_mutex) = nullptr;
};

CWyGuardWait::List& CWyGuardWait::Waits() {
  static constinit CWyNeverDestroyed<List> s_list;
  return s_list.value;
}

CWyGuardWait::CWyGuardWait(std::initializer_list<const CWyGuard*> guards)
    : m_apGuards{},
      m_pHolds(CWyGuardHold::InnermostOfThisThread()),
      m_ulThread(pthread_self()),
      m_bAllowed(true),
      m_pNext(nullptr) {
  if (m_pHolds == nullptr) return;
  std::copy(guards.begin(), guards.end(), m_apGuards.begin());
  m_bAllowed = Waits().AddIfAllowed(*this);
}

CWyGuardWait::~CWyGuardWait() {
  if (m_pHolds != nullptr && m_bAllowed) Waits().Remove(*this);
}
