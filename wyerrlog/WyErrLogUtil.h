#ifndef WYERRLOG_WYERRLOGUTIL_H
#define WYERRLOG_WYERRLOGUTIL_H

// The library's locks and the loading of shared libraries by short names.
//
// The header is installed because the logger's class holds guards; its contents are for use inside
// the library. Locks are not recursive: a thread that holds one must not ask for it again, a guard
// not even for reading.

#include <array>
#include <initializer_list>

class CWyErrLogCriticalSection;
class CWyGuard;

// ---- Critical section ---------------------------------------------------------------------------

// Mutual exclusion. A child forked while another thread is inside finds the section free: the fork
// waits until that thread has left. No host code may run inside.
class CWyErrLogCS {
 public:
  CWyErrLogCS();
  ~CWyErrLogCS();
  CWyErrLogCS(const CWyErrLogCS&) = delete;
  CWyErrLogCS& operator=(const CWyErrLogCS&) = delete;

  void Enter();
  void Leave();

 private:
  CWyErrLogCriticalSection* m_pCS;  // owned
};

// Holds a critical section for a scope.
class CWyErrLogAutoCS {
 public:
  explicit CWyErrLogAutoCS(CWyErrLogCS& cs) : m_cs(cs) { m_cs.Enter(); }
  ~CWyErrLogAutoCS() { m_cs.Leave(); }
  CWyErrLogAutoCS(const CWyErrLogAutoCS&) = delete;
  CWyErrLogAutoCS& operator=(const CWyErrLogAutoCS&) = delete;

 private:
  CWyErrLogCS& m_cs;
};

// ---- Reader/writer guard ------------------------------------------------------------------------

// Many readers or one writer. A new reader waits behind a waiting writer; a guard that becomes free
// goes to one waiting writer first, otherwise to all waiting readers at once.
//
// Host code runs while a guard is held: callbacks, and what opens and closes the host's outputs. It
// may use further guards, those of other logs, and so could come to wait for itself, or threads for
// each other in a circle. A thread that holds a guard therefore waits for another one only when
// none of the other one's holders waits, directly or through others, for the thread itself. When
// one does, the thread joins the readers that hold the guard, past the writers that wait for them,
// if it wants to read; otherwise it is refused. A guard that the thread holds itself is refused.
class CWyErrLogGuard {
 public:
  // Without memory for it the guard is not usable: it admits nobody who can be refused.
  CWyErrLogGuard();
  ~CWyErrLogGuard();
  CWyErrLogGuard(const CWyErrLogGuard&) = delete;
  CWyErrLogGuard& operator=(const CWyErrLogGuard&) = delete;

  void LockForRead();
  void LockForWrite();
  void Unlock();

  // Whether a scope holder of the calling thread holds this guard.
  bool IsHeldByThisThread() const;

  bool IsUsable() const { return m_pGuard != nullptr; }

 private:
  friend class CWyErrLogAutoReader;
  friend class CWyErrLogAutoWriter;
  friend class CWyGuardWait;
  friend class CWyLogReader;
  friend class CWyLogWriter;

  bool AdmitReader(bool bHoldsOthers);
  bool AdmitNestedReader();
  bool AdmitWriter();

  CWyGuard* m_pGuard;  // owned
};

// One hold of a guard by the calling thread, a link in that thread's list of holds. It lives in a
// scope holder on the thread's stack.
class CWyGuardHold {
 public:
  static constexpr int Read = 1;
  static constexpr int Write = -1;

  CWyGuardHold(const CWyGuard* pGuard, int iKind)
      : CWyGuardHold(InnermostOfThisThread(), pGuard, iKind) {}
  // For a caller that has looked at the thread's list already.
  CWyGuardHold(CWyGuardHold*& pInnermost, const CWyGuard* pGuard, int iKind)
      : m_pGuard(pGuard), m_pInnermost(pInnermost), m_pOuter(pInnermost), m_iKind(iKind) {
    m_pInnermost = this;
  }
  ~CWyGuardHold() { m_pInnermost = m_pOuter; }
  CWyGuardHold(const CWyGuardHold&) = delete;
  CWyGuardHold& operator=(const CWyGuardHold&) = delete;

  // Read, Write, or 0 when the calling thread does not hold the guard.
  static int OfThisThread(const CWyGuard* pGuard);

  // The head of the calling thread's list, its innermost hold; null when it has none. A hold
  // remembers where that is.
  static CWyGuardHold*& InnermostOfThisThread();
  // Whether this or one of the holds around it is one of the guard.
  bool Includes(const CWyGuard* pGuard) const;

 private:
  const CWyGuard* m_pGuard;     // null: none
  CWyGuardHold*& m_pInnermost;  // the calling thread's
  CWyGuardHold* const m_pOuter;
  int m_iKind;
};

// A stretch in which the calling thread may wait for the guards while it holds others, for other
// threads to see. For a thread that holds none it does nothing.
class CWyGuardWait {
 public:
  static constexpr int MaxGuards = 4;

  explicit CWyGuardWait(std::initializer_list<const CWyErrLogGuard*> guards);
  ~CWyGuardWait();
  CWyGuardWait(const CWyGuardWait&) = delete;
  CWyGuardWait& operator=(const CWyGuardWait&) = delete;

  // False when the thread would wait for itself.
  bool IsAllowed() const { return m_bAllowed; }

  // In a forked child, before it has more than one thread.
  static void ForgetThoseOfOtherThreads();

 private:
  static bool EndsAtThisThread(const CWyGuard* pGuard);

  static CWyGuardWait* s_pFirst;  // of the waits of all threads

  std::array<const CWyGuard*, MaxGuards> m_apGuards;  // the first null ends them
  const CWyGuardHold* m_pHolds;                       // the thread's, when the wait began
  unsigned long m_ulThread;
  bool m_bAllowed;
  CWyGuardWait* m_pNext;
};

// Holds a guard for reading for a scope.
class CWyErrLogAutoReader {
 public:
  explicit CWyErrLogAutoReader(CWyErrLogGuard& guard);
  ~CWyErrLogAutoReader();

 private:
  CWyErrLogGuard& m_guard;
  CWyGuardHold m_hold;
};

// Holds a guard for writing for a scope.
class CWyErrLogAutoWriter {
 public:
  explicit CWyErrLogAutoWriter(CWyErrLogGuard& guard);
  ~CWyErrLogAutoWriter();

 private:
  CWyErrLogGuard& m_guard;
  CWyGuardHold m_hold;
};

// The same for callers that may be host code under a guard already: false when they were refused.
class CWyLogReader {
 public:
  explicit CWyLogReader(CWyErrLogGuard& guard)
      : CWyLogReader(guard, CWyGuardHold::InnermostOfThisThread()) {}
  ~CWyLogReader();
  explicit operator bool() const { return m_pGuard != nullptr; }

 private:
  CWyLogReader(CWyErrLogGuard& guard, CWyGuardHold*& pInnermost);

  CWyGuard* m_pGuard;  // null: refused
  CWyGuardHold m_hold;
};

class CWyLogWriter {
 public:
  explicit CWyLogWriter(CWyErrLogGuard& guard);
  ~CWyLogWriter();
  explicit operator bool() const { return m_pGuard != nullptr; }

 private:
  CWyErrLogGuard* m_pGuard;
  CWyGuardHold m_hold;
};

// ---- Shared libraries ---------------------------------------------------------------------------

// Loads a shared library by a name such as "wylogcomponent". Tries, in this order: the name itself;
// the name with ".so" in place of a missing, ".dll" or ".DLL" ending; that with "lib" before it,
// unless it begins so or holds a "/"; and the last name tried in the directory "bin/" below the
// value of the environment variable ORVA_WA_ROOT (unless it holds a "/"). That directory is fixed
// by the first call that finds the variable set to at most 4089 bytes. Answers a handle, which the
// caller gives to WyErrLogUtilFreeLibrary, or null.
void* WyErrLogUtilLoadLibrary(char* pszName);

// Closes the library: true when the system (dlclose) closed it, false also for a null handle.
bool WyErrLogUtilFreeLibrary(void* hLib);

// The address of a symbol in the library or, as dlsym has it, in one that it is linked to; null
// when there is none.
void* WyErrLogUtilGetProcAddress(void* hLib, char* pszSymbol);

#endif
