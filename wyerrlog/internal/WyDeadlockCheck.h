#ifndef WYERRLOG_INTERNAL_WYDEADLOCKCHECK_H
#define WYERRLOG_INTERNAL_WYDEADLOCKCHECK_H

// Which guards a thread holds, and which it waits for, so that no thread ever waits in a deadlock
// (a cycle in the wait-for graph). Host code that runs under one guard, a callback, may use the
// guards of other logs; two such threads could come to wait for each other.

#include <array>
#include <initializer_list>

class CWyGuard;

// One hold of a guard by the calling thread: a link in that thread's list of holds, innermost
// first. It lives in a scope holder on the thread's stack.
class CWyGuardHold {
 public:
  static constexpr int Read = 1;
  static constexpr int Write = -1;

  // Requires: the guard has been locked. A thread that waits for a guard does not hold it.
  CWyGuardHold(const CWyGuard* pGuard, int iKind)
      : CWyGuardHold(InnermostOfThisThread(), pGuard, iKind) {}
  // For a caller that has the head of the thread's list already: to find it costs a call.
  CWyGuardHold(CWyGuardHold*& pInnermost, const CWyGuard* pGuard, int iKind)
      : m_pGuard(pGuard), m_pInnermost(pInnermost), m_pOuter(pInnermost), m_iKind(iKind) {
    m_pInnermost = this;
  }
  ~CWyGuardHold() { m_pInnermost = m_pOuter; }
  CWyGuardHold(const CWyGuardHold&) = delete;
  CWyGuardHold& operator=(const CWyGuardHold&) = delete;

  // Read, Write, or 0 if the calling thread does not hold the guard.
  static int OfThisThread(const CWyGuard* pGuard);

  // The head of the calling thread's list, its innermost hold; null if it has none.
  static CWyGuardHold*& InnermostOfThisThread();

  // Returns true if this hold or an outer one is a hold of the guard.
  bool Includes(const CWyGuard* pGuard) const;

 private:
  const CWyGuard* m_pGuard;     // null: no guard, so that a holder that was refused needs no case
  CWyGuardHold*& m_pInnermost;  // the calling thread's; to find it again costs a call
  CWyGuardHold* const m_pOuter;
  int m_iKind;
};

// A scope in which the calling thread may wait for the given guards while it holds others; it is
// entered in a list that the other threads read. For a thread that holds no guard it does nothing:
// such a thread is never part of a cycle.
class CWyGuardWait {
 public:
  static constexpr int MaxGuards = 4;  // the most that one operation takes: CWyLogger::Init

  // Null guards are allowed, and ignored.
  explicit CWyGuardWait(std::initializer_list<const CWyGuard*> guards);
  ~CWyGuardWait();
  CWyGuardWait(const CWyGuardWait&) = delete;
  CWyGuardWait& operator=(const CWyGuardWait&) = delete;

  // Returns false if the wait would close a cycle: the thread would wait for itself.
  bool IsAllowed() const { return m_bAllowed; }

 private:
  class List;
  static List& Waits();

  std::array<const CWyGuard*, MaxGuards> m_apGuards;  // unused entries are null
  const CWyGuardHold* m_pHolds;                       // the thread's, when the wait began
  unsigned long m_ulThread;
  bool m_bAllowed;
  CWyGuardWait* m_pNext;
};

#endif
