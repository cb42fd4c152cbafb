// The public locks: each owns one object of the private layer, so that installed headers contain no
// member of the system's types. A guard adds what it knows of the calling thread's other guards
// (WyDeadlockCheck.h).

#include "wyerrlog/WyErrLogUtil.h"

#include <cerrno>
#include <new>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/internal/WyDeadlockCheck.h"
#include "wyerrlog/internal/WyNoThrow.h"

// ---- Critical section ---------------------------------------------------------------------------

CWyErrLogCS::CWyErrLogCS() : m_pCS(new CWyErrLogCriticalSection) { CWyForkRegistry::Add(*m_pCS); }

CWyErrLogCS::~CWyErrLogCS() {
  CWyForkRegistry::Remove(*m_pCS);
  delete m_pCS;
  m_pCS = nullptr;
}

// Enter returns with the mutex locked, Leave with it unlocked. The annotations for the analysis of
// thread safety would have to be on the declarations, in a header that hosts read.
void CWyErrLogCS::Enter() WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
  if (m_pCS != nullptr) m_pCS->Enter();
}

void CWyErrLogCS::Leave() WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
  if (m_pCS != nullptr) m_pCS->Leave();
}

// ---- Guard --------------------------------------------------------------------------------------

namespace {

// errno is for the callers of log calls, and for those that install outputs in one statement.
bool Refuse() {
  errno = EDEADLK;
  return false;
}

}  // namespace

// A guard without memory is not usable, and refuses; an exception would reach the host.
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

// The caller has looked at the thread's list of holds. Most threads hold nothing, and for those a
// wait cannot close a cycle.
bool CWyErrLogGuard::AdmitReader(bool bHoldsOthers) {
  if (m_pGuard == nullptr) return false;
  if (bHoldsOthers) return AdmitNestedReader();
  m_pGuard->LockForRead();
  return true;
}

// In this order: a guard of the thread's own would deadlock behind a waiting writer; without a wait
// there is no cycle; only then the wait is entered into the list that all threads share. Joining
// fails if a writer holds the guard, and the caller is refused.
bool CWyErrLogGuard::AdmitNestedReader() {
  if (IsHeldByThisThread()) return Refuse();
  if (m_pGuard->TryLockForRead()) return true;
  const CWyGuardWait wait({m_pGuard});
  if (!wait.IsAllowed()) return m_pGuard->JoinReaders() || Refuse();
  m_pGuard->LockForRead();
  return true;
}

bool CWyErrLogGuard::AdmitWriter() {
  const CWyGuardWait wait({m_pGuard});
  if (m_pGuard == nullptr || !wait.IsAllowed()) return Refuse();
  m_pGuard->LockForWrite();
  return true;
}

// ---- Scope holders ------------------------------------------------------------------------------

namespace {

using HoldNote = CWyErrLogGuard::HoldNote;
// The public header has room for a CWyGuardHold without its definition.
static_assert(sizeof(CWyGuardHold) == sizeof(HoldNote) && alignof(CWyGuardHold) <= alignof(void*));

void NoteHold(HoldNote& note, const CWyErrLogGuard& guard, int iKind) {
  new (&note) CWyGuardHold(guard.Native(), iKind);
}

// std::launder, because the object was constructed in memory of another type.
void ForgetHold(HoldNote& note) {
  std::launder(reinterpret_cast<CWyGuardHold*>(&note))->~CWyGuardHold();
}

}  // namespace

CWyErrLogAutoReader::CWyErrLogAutoReader(CWyErrLogGuard& guard) : m_guard(guard) {
  m_guard.LockForRead();
  NoteHold(m_note, m_guard, CWyGuardHold::Read);
}

CWyErrLogAutoReader::~CWyErrLogAutoReader() {
  m_guard.Unlock();
  ForgetHold(m_note);
}

CWyErrLogAutoWriter::CWyErrLogAutoWriter(CWyErrLogGuard& guard) : m_guard(guard) {
  m_guard.LockForWrite();
  NoteHold(m_note, m_guard, CWyGuardHold::Write);
}

CWyErrLogAutoWriter::~CWyErrLogAutoWriter() {
  m_guard.Unlock();
  ForgetHold(m_note);
}
