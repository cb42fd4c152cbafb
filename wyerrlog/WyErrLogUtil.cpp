#include "wyerrlog/WyErrLogUtil.h"

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

CWyErrLogGuard::CWyErrLogGuard() : m_pGuard(new CWyGuard) {}

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

// ---- Holds --------------------------------------------------------------------------------------

namespace {

thread_local CWyGuardHold* t_pInnermostHold = nullptr;

}  // namespace

CWyGuardHold::CWyGuardHold(const CWyGuard* pGuard, int iKind)
    : m_pGuard(pGuard), m_pOuter(t_pInnermostHold), m_iKind(iKind) {
  t_pInnermostHold = this;
}

CWyGuardHold::~CWyGuardHold() { t_pInnermostHold = m_pOuter; }

int CWyGuardHold::OfThisThread(const CWyGuard* pGuard) {
  for (const CWyGuardHold* pHold = t_pInnermostHold; pHold != nullptr; pHold = pHold->m_pOuter) {
    if (pHold->m_pGuard == pGuard) return pHold->m_iKind;
  }
  return 0;
}

// The hold is noted after the guard has been waited for: a thread that waits holds nothing yet.
CWyErrLogAutoReader::CWyErrLogAutoReader(CWyErrLogGuard& guard)
    : m_guard((guard.LockForRead(), guard)), m_hold(guard.m_pGuard, CWyGuardHold::Read) {}

CWyErrLogAutoReader::~CWyErrLogAutoReader() { m_guard.Unlock(); }

CWyErrLogAutoWriter::CWyErrLogAutoWriter(CWyErrLogGuard& guard)
    : m_guard((guard.LockForWrite(), guard)), m_hold(guard.m_pGuard, CWyGuardHold::Write) {}

CWyErrLogAutoWriter::~CWyErrLogAutoWriter() { m_guard.Unlock(); }
