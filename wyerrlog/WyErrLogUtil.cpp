#include "wyerrlog/WyErrLogUtil.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

#include "wyerrlog/WyErrLogPrivUtil.h"

// ---- Critical section ---------------------------------------------------------------------------

CWyErrLogCS::CWyErrLogCS() : m_pCS(new CWyErrLogCriticalSection) { CWyForkRegistry::Add(*m_pCS); }

CWyErrLogCS::~CWyErrLogCS() {
  CWyForkRegistry::Remove(*m_pCS);
  delete m_pCS;
  m_pCS = nullptr;
}

void CWyErrLogCS::Enter() {
  if (m_pCS != nullptr) m_pCS->Enter();
}

void CWyErrLogCS::Leave() {
  if (m_pCS != nullptr) m_pCS->Leave();
}

// ---- Reader/writer guard ------------------------------------------------------------------------

CWyErrLogGuard::CWyErrLogGuard()
    : m_pGuard(WyNoThrow<CWyGuard*>(nullptr, [] { return new CWyGuard; })) {}

CWyErrLogGuard::~CWyErrLogGuard() {
  delete m_pGuard;
  m_pGuard = nullptr;
}

void CWyErrLogGuard::LockForRead() {
  if (m_pGuard != nullptr) m_pGuard->LockForRead();
}

void CWyErrLogGuard::LockForWrite() {
  if (m_pGuard != nullptr) m_pGuard->LockForWrite();
}

void CWyErrLogGuard::Unlock() {
  if (m_pGuard != nullptr) m_pGuard->Unlock();
}

bool CWyErrLogGuard::IsHeldByThisThread() const {
  return CWyGuardHold::OfThisThread(m_pGuard) != 0;
}

bool CWyErrLogGuard::AdmitReader(bool bHoldsOthers) {
  if (m_pGuard == nullptr) return false;
  if (bHoldsOthers) return AdmitNestedReader();
  m_pGuard->LockForRead();
  return true;
}

bool CWyErrLogGuard::AdmitNestedReader() {
  if (IsHeldByThisThread()) return false;
  if (m_pGuard->TryLockForRead()) return true;
  const CWyGuardWait wait({this});
  if (!wait.IsAllowed()) return m_pGuard->JoinReaders();
  m_pGuard->LockForRead();
  return true;
}

bool CWyErrLogGuard::AdmitWriter() {
  const CWyGuardWait wait({this});
  if (m_pGuard == nullptr || !wait.IsAllowed()) return false;
  m_pGuard->LockForWrite();
  return true;
}

// ---- Holds --------------------------------------------------------------------------------------

namespace {

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

// The hold is noted after the guard has been waited for: a thread that waits holds nothing yet.
CWyErrLogAutoReader::CWyErrLogAutoReader(CWyErrLogGuard& guard)
    : m_guard((guard.LockForRead(), guard)), m_hold(guard.m_pGuard, CWyGuardHold::Read) {}

CWyErrLogAutoReader::~CWyErrLogAutoReader() { m_guard.Unlock(); }

CWyErrLogAutoWriter::CWyErrLogAutoWriter(CWyErrLogGuard& guard)
    : m_guard((guard.LockForWrite(), guard)), m_hold(guard.m_pGuard, CWyGuardHold::Write) {}

CWyErrLogAutoWriter::~CWyErrLogAutoWriter() { m_guard.Unlock(); }

CWyLogReader::CWyLogReader(CWyErrLogGuard& guard, CWyGuardHold*& pInnermost)
    : m_pGuard(guard.AdmitReader(pInnermost != nullptr) ? guard.m_pGuard : nullptr),
      m_hold(pInnermost, m_pGuard, CWyGuardHold::Read) {}

CWyLogReader::~CWyLogReader() {
  if (m_pGuard != nullptr) m_pGuard->UnlockReader();
}

CWyLogWriter::CWyLogWriter(CWyErrLogGuard& guard)
    : m_pGuard(guard.AdmitWriter() ? &guard : nullptr),
      m_hold(m_pGuard != nullptr ? guard.m_pGuard : nullptr, CWyGuardHold::Write) {}

CWyLogWriter::~CWyLogWriter() {
  if (m_pGuard != nullptr) m_pGuard->Unlock();
}

// ---- Waits --------------------------------------------------------------------------------------

namespace {

// Protects the list of waits, which is short: host code that holds a guard seldom waits for
// another.
constinit CWyImmortal<CWyErrLogCriticalSection> s_waitSection;

class WaitLock {
 public:
  WaitLock() { s_waitSection.value.Enter(); }
  ~WaitLock() { s_waitSection.value.Leave(); }
  WaitLock(const WaitLock&) = delete;
  WaitLock& operator=(const WaitLock&) = delete;
};

[[maybe_unused]] const int s_iRegistered =
    (CWyForkRegistry::Add(s_waitSection.value),
     pthread_atfork(nullptr, nullptr, CWyGuardWait::ForgetThoseOfOtherThreads));

}  // namespace

CWyGuardWait* CWyGuardWait::s_pFirst = nullptr;

CWyGuardWait::CWyGuardWait(std::initializer_list<const CWyErrLogGuard*> guards)
    : m_apGuards{},
      m_pHolds(CWyGuardHold::InnermostOfThisThread()),
      m_ulThread(pthread_self()),
      m_bAllowed(true),
      m_pNext(nullptr) {
  if (m_pHolds == nullptr) return;
  std::transform(guards.begin(), guards.end(), m_apGuards.begin(),
                 [](const CWyErrLogGuard* pGuard) { return pGuard->m_pGuard; });
  const WaitLock lock;
  m_bAllowed = std::none_of(m_apGuards.begin(), m_apGuards.end(), EndsAtThisThread);
  if (m_bAllowed) m_pNext = std::exchange(s_pFirst, this);
}

CWyGuardWait::~CWyGuardWait() {
  if (m_pHolds == nullptr || !m_bAllowed) return;
  const WaitLock lock;
  CWyGuardWait** ppWait = &s_pFirst;
  while (*ppWait != this) ppWait = &(*ppWait)->m_pNext;
  *ppWait = m_pNext;
}

// Whether the thread that waits for the guard waits for itself. There is an end to it: no wait that
// would close a circle is ever in the list.
bool CWyGuardWait::EndsAtThisThread(const CWyGuard* pGuard) {
  if (pGuard == nullptr) return false;
  if (CWyGuardHold::OfThisThread(pGuard) != 0) return true;
  for (const CWyGuardWait* pWait = s_pFirst; pWait != nullptr; pWait = pWait->m_pNext) {
    if (!pWait->m_pHolds->Includes(pGuard)) continue;
    if (std::any_of(pWait->m_apGuards.begin(), pWait->m_apGuards.end(), EndsAtThisThread)) {
      return true;
    }
  }
  return false;
}

void CWyGuardWait::ForgetThoseOfOtherThreads() {
  for (CWyGuardWait** ppWait = &s_pFirst; *ppWait != nullptr;) {
    if ((*ppWait)->m_ulThread == pthread_self()) {
      ppWait = &(*ppWait)->m_pNext;
    } else {
      *ppWait = (*ppWait)->m_pNext;
    }
  }
}
