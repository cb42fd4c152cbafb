#ifndef WYERRLOG_INTERNAL_WYLOGACCESS_H
#define WYERRLOG_INTERNAL_WYLOGACCESS_H

// Scope holders of a log's guard for callers that may be host code under a guard already, a
// callback for instance. They can be refused; the other two (CWyErrLogAutoReader and
// CWyErrLogAutoWriter) cannot.

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyErrLogUtil.h"
#include "wyerrlog/internal/WyDeadlockCheck.h"

// Holds a guard for reading for a scope. Converts to false if it was refused: the calling thread
// holds the guard already, or would deadlock. A thread that would deadlock while readers hold the
// guard joins them instead.
class CWyLogReader {
 public:
  explicit CWyLogReader(CWyErrLogGuard& guard)
      : CWyLogReader(guard, CWyGuardHold::InnermostOfThisThread()) {}
  ~CWyLogReader() {
    if (m_pGuard != nullptr) m_pGuard->UnlockReader();
  }
  explicit operator bool() const { return m_pGuard != nullptr; }

 private:
  CWyLogReader(CWyErrLogGuard& guard, CWyGuardHold*& pInnermost)
      : m_pGuard(Admit(guard, pInnermost != nullptr)),
        m_hold(pInnermost, m_pGuard, CWyGuardHold::Read) {}

  // AdmitReader, without a call for a thread that holds no guard, which is nearly every one.
  // Returns the guard's lock; null if it is refused.
  static CWyGuard* Admit(CWyErrLogGuard& guard, bool bHoldsOthers) {
    CWyGuard* const pGuard = guard.Native();
    if (bHoldsOthers || pGuard == nullptr) [[unlikely]]
      return guard.AdmitReader(bHoldsOthers) ? pGuard : nullptr;
    pGuard->LockForRead();
    return pGuard;
  }

  CWyGuard* m_pGuard;  // null: refused
  CWyGuardHold m_hold;
};

// Holds a guard for writing for a scope. Converts to false if it was refused, for the same reasons.
class CWyLogWriter {
 public:
  explicit CWyLogWriter(CWyErrLogGuard& guard)
      : m_pGuard(guard.AdmitWriter() ? guard.Native() : nullptr),
        m_hold(m_pGuard, CWyGuardHold::Write) {}
  ~CWyLogWriter() {
    if (m_pGuard != nullptr) m_pGuard->Unlock();
  }
  explicit operator bool() const { return m_pGuard != nullptr; }

 private:
  CWyGuard* m_pGuard;  // null: refused
  CWyGuardHold m_hold;
};

#endif
