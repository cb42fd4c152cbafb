#ifndef WYERRLOG_WYERRLOGUTIL_H
#define WYERRLOG_WYERRLOGUTIL_H

// The library's two locks, their scope holders, and the loading of shared libraries by short names.
//
// The header is installed because the logger's class has guards as members; hosts have no use for
// it: its functions are not exported. Neither lock is recursive: a thread that holds one must not
// ask for it again, a guard not even for reading.

class CWyErrLogCriticalSection;
class CWyGuard;

// ---- Critical section ---------------------------------------------------------------------------

// Mutual exclusion between threads of one process. A fork waits until no thread is inside, so a
// forked child finds it free. Code of the host must not run inside: it could fork, and wait for
// itself.
//
// The constructor throws std::bad_alloc if memory allocation fails; nothing else fails. Requires:
// no thread is inside when it is destroyed.
class CWyErrLogCS {
 public:
  CWyErrLogCS();
  ~CWyErrLogCS();
  CWyErrLogCS(const CWyErrLogCS&) = delete;
  CWyErrLogCS& operator=(const CWyErrLogCS&) = delete;

  // Enter waits while another thread is inside. Leave is called by the thread that entered.
  void Enter();
  void Leave();

 private:
  CWyErrLogCriticalSection* m_pCS;  // owned
};

// Holds a critical section from its construction to the end of the scope, also when an exception
// ends it. The section must live longer.
//
//   const CWyErrLogAutoCS lock(m_cs);
class CWyErrLogAutoCS {
 public:
  explicit CWyErrLogAutoCS(CWyErrLogCS& cs) : m_cs(cs) { m_cs.Enter(); }
  ~CWyErrLogAutoCS() { m_cs.Leave(); }
  CWyErrLogAutoCS(const CWyErrLogAutoCS&) = delete;
  CWyErrLogAutoCS& operator=(const CWyErrLogAutoCS&) = delete;

 private:
  CWyErrLogCS& m_cs;
};

// ---- Guard --------------------------------------------------------------------------------------

// A reader-writer lock: many readers, or one writer. A new reader waits behind a waiting writer; a
// guard that becomes free goes to one waiting writer first, otherwise to all waiting readers at
// once.
//
// Code of the host runs while a guard is held: callbacks, and the Open and Close of the host's own
// outputs. It may use further guards, those of other logs, and threads that do so could deadlock.
// The operations that can refuse (Admit...) prevent that: a thread that holds a guard waits for
// another one only if no holder of that one waits, directly or through others, for the thread
// itself. Otherwise a thread that wants to read joins the readers that hold the guard, past the
// writers that wait for them, and a thread that wants to write, or finds a writer, is refused. A
// guard that the thread itself holds already is refused.
//
// A fork waits for writers and not for readers. A forked child finds each guard held as far as the
// thread that forked holds it, and free otherwise.
class CWyErrLogGuard {
 public:
  // If memory allocation fails the guard is not usable: Admit... return false, Lock... and Unlock
  // have no effect. Requires of the destructor: no thread holds the guard or waits for it.
  CWyErrLogGuard();
  ~CWyErrLogGuard();
  CWyErrLogGuard(const CWyErrLogGuard&) = delete;
  CWyErrLogGuard& operator=(const CWyErrLogGuard&) = delete;

  // Lock for reading or writing, and release either. They wait as long as it takes and never
  // refuse: for callers that hold no other guard.
  void LockForRead();
  void LockForWrite();
  void Unlock();

  // Lock for reading or writing unless that would deadlock. Return false if they have not locked.
  // `bHoldsOthers`: the calling thread holds a guard already. The caller releases with Unlock.
  bool AdmitReader(bool bHoldsOthers);
  bool AdmitWriter();

  // Returns true if a scope holder of the calling thread holds this guard.
  bool IsHeldByThisThread() const;

  // Returns false if there was no memory to construct the guard.
  bool IsUsable() const { return m_pGuard != nullptr; }

  // The lock itself, which this object owns; null if it is not usable.
  CWyGuard* Native() const { return m_pGuard; }

  // Storage, in a scope holder, for the entry of this hold in the thread's list of holds
  // (CWyGuardHold).
  struct HoldNote {
    alignas(void*) unsigned char bytes[4 * sizeof(void*)];
  };

 private:
  bool AdmitNestedReader();

  CWyGuard* m_pGuard;  // owned
};

// Holds a guard for reading from its construction to the end of the scope. Waits, and is never
// refused.
class CWyErrLogAutoReader {
 public:
  explicit CWyErrLogAutoReader(CWyErrLogGuard& guard);
  ~CWyErrLogAutoReader();
  CWyErrLogAutoReader(const CWyErrLogAutoReader&) = delete;
  CWyErrLogAutoReader& operator=(const CWyErrLogAutoReader&) = delete;

 private:
  CWyErrLogGuard& m_guard;
  CWyErrLogGuard::HoldNote m_note;
};

// The same for writing. A fork waits until the scope has ended.
class CWyErrLogAutoWriter {
 public:
  explicit CWyErrLogAutoWriter(CWyErrLogGuard& guard);
  ~CWyErrLogAutoWriter();
  CWyErrLogAutoWriter(const CWyErrLogAutoWriter&) = delete;
  CWyErrLogAutoWriter& operator=(const CWyErrLogAutoWriter&) = delete;

 private:
  CWyErrLogGuard& m_guard;
  CWyErrLogGuard::HoldNote m_note;
};

// ---- Shared libraries ---------------------------------------------------------------------------

// Loads a shared library by a name such as "wylogcomponent". Tries, in this order:
//
//   1. the name itself;
//   2. the name with ".so" in place of a missing, ".dll" or ".DLL" ending (".DLL" becomes ".SO");
//   3. that with "lib" before it, unless it begins so;
//   4. the last name tried, in the directory "bin/" below the value of the environment variable
//      ORVA_WA_ROOT.
//
// A name with a "/" ends the search after the second step. The directory is fixed by the first call
// that finds the variable set to at most 4089 bytes.
//
// On success returns a handle, which the caller passes to WyErrLogUtilFreeLibrary. Returns null for
// a null name and if nothing could be loaded; dlerror(3) then has the reason of the last attempt.
// Throws std::bad_alloc if memory allocation fails. Thread-safe.
void* WyErrLogUtilLoadLibrary(char* pszName);

// Closes the library (dlclose(3)). Returns false for a null handle and if dlclose fails.
bool WyErrLogUtilFreeLibrary(void* hLib);

// Returns the address of a symbol in the library or, as dlsym(3) has it, in one that it is linked
// to; null if there is none.
void* WyErrLogUtilGetProcAddress(void* hLib, char* pszSymbol);

#endif
