#ifndef WYERRLOG_WYERRLOGUTIL_H
#define WYERRLOG_WYERRLOGUTIL_H

// The library's two locks, their scope holders, and the loading of shared libraries by short names.
//
// The header is installed because the logger's class holds guards; hosts have no use for it: its
// functions are not exported. Neither lock is recursive: a thread that holds one must not ask for
// it again, a guard not even for reading.

class CWyErrLogCriticalSection;
class CWyGuard;

// ---- Critical section ---------------------------------------------------------------------------

// Mutual exclusion. A fork waits until no thread is inside, so a forked child finds it free. Code
// of the host must not run inside.
//
// The constructor throws std::bad_alloc if memory allocation fails.
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
// Code of the host runs while a guard is held: callbacks, and what opens and closes the host's
// outputs. It may use further guards, those of other logs, and could deadlock. The operations that
// can refuse (Admit...) prevent that: a thread that holds a guard waits for another one only if no
// holder of that one waits, directly or through others, for the thread itself. Otherwise a thread
// that wants to read joins the readers that hold the guard, past the writers that wait for them,
// and any other is refused. A guard that the thread holds itself is refused.
class CWyErrLogGuard {
 public:
  // If memory allocation fails the guard is not usable: Admit... refuse, Lock... and Unlock have no
  // effect.
  CWyErrLogGuard();
  ~CWyErrLogGuard();
  CWyErrLogGuard(const CWyErrLogGuard&) = delete;
  CWyErrLogGuard& operator=(const CWyErrLogGuard&) = delete;

  void LockForRead();
  void LockForWrite();
  void Unlock();

  // Lock for reading or writing unless that would deadlock. Return whether they have.
  // `bHoldsOthers`: the calling thread holds a guard already.
  bool AdmitReader(bool bHoldsOthers);
  bool AdmitWriter();

  // Whether a scope holder of the calling thread holds this guard.
  bool IsHeldByThisThread() const;

  bool IsUsable() const { return m_pGuard != nullptr; }

  // The lock itself, owned by this object; null if it is not usable.
  CWyGuard* Native() const { return m_pGuard; }

  // Room for the note, in a scope holder, that the thread holds the guard (CWyGuardHold).
  struct HoldNote {
    alignas(void*) unsigned char bytes[4 * sizeof(void*)];
  };

 private:
  bool AdmitNestedReader();

  CWyGuard* m_pGuard;  // owned
};

// Holds a guard for reading for a scope.
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

// Holds a guard for writing for a scope. A fork waits until the scope has ended.
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

// Loads a shared library by a name such as "wylogcomponent". Tries, in this order: the name itself;
// the name with ".so" in place of a missing, ".dll" or ".DLL" ending; that with "lib" before it,
// unless it begins so or contains a "/"; and the last name tried in the directory "bin/" below the
// value of the environment variable ORVA_WA_ROOT (unless it contains a "/"). That directory is
// fixed by the first call that finds the variable set to at most 4089 bytes. Returns a handle,
// which the caller passes to WyErrLogUtilFreeLibrary, or null. Thread-safe.
void* WyErrLogUtilLoadLibrary(char* pszName);

// Closes the library. Returns true if the system (dlclose) has closed it, false also for a null
// handle.
bool WyErrLogUtilFreeLibrary(void* hLib);

// Returns the address of a symbol in the library or, as dlsym(3) has it, in one that it is linked
// to; null if there is none.
void* WyErrLogUtilGetProcAddress(void* hLib, char* pszSymbol);

#endif
