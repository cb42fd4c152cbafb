#ifndef WYERRLOG_WYERRLOGPRIVUTIL_H
#define WYERRLOG_WYERRLOGPRIVUTIL_H

// Private: the locks under CWyErrLogCS and CWyErrLogGuard, what keeps them usable in a forked
// child, and thread-specific slots.

#include <array>
#include <atomic>
#include <exception>
#include <new>

#include "wyerrlog/WyErrLogPort.h"

// Runs a piece of a public operation, and answers `failure` in place of what the library itself
// throws, for want of memory: no exception of its own leaves the library. The piece calls nothing
// of the host, whose exceptions pass through.
template <typename Result, typename Body>
Result WyNoThrow(Result failure, Body body) {
  try {
    return body();
  } catch (const std::exception&) {
    return failure;
  }
}

// An object that is never destroyed: threads that outlive main and destructors of other statics may
// still come to use it.
template <typename T>
union CWyImmortal {
  T value;
  constexpr CWyImmortal() : value() {}
  ~CWyImmortal() {}
};

// A place in one of the lists of CWyForkRegistry; null pointers while it is in none.
struct CWyForkLink {
  CWyForkLink* m_pNext = nullptr;
  CWyForkLink* m_pPrevious = nullptr;
};

// A mutex, not recursive. Ready before any code runs when it is a static object.
class CWyErrLogCriticalSection : public CWyForkLink {
 public:
  constexpr CWyErrLogCriticalSection() : m_mutex(PTHREAD_MUTEX_INITIALIZER) {}
  ~CWyErrLogCriticalSection();
  CWyErrLogCriticalSection(const CWyErrLogCriticalSection&) = delete;
  CWyErrLogCriticalSection& operator=(const CWyErrLogCriticalSection&) = delete;

  void Enter();
  void Leave();

 private:
  pthread_mutex_t m_mutex;
};

// Base of objects that are waited for by handle. Closes its handle when destroyed.
class CWyErrLogSyncBase {
 public:
  CWyErrLogSyncBase();
  ~CWyErrLogSyncBase();
  CWyErrLogSyncBase(const CWyErrLogSyncBase&) = delete;
  CWyErrLogSyncBase& operator=(const CWyErrLogSyncBase&) = delete;

  // Answers 0 when a unit was taken, 1 when none was available and -1 on failure: no handle, or
  // one that is closing.
  int Wait(unsigned long ulTimeout);

 protected:
  void* m_hSem;
};

// A counting semaphore.
class CWyErrLogSemaphore : public CWyErrLogSyncBase {
 public:
  // Without `bCreate`, and when creation fails, there is no handle: every wait and release fails.
  CWyErrLogSemaphore(long lInitial, long lMax, bool bCreate);

  bool IsMade() const { return m_hSem != nullptr; }

  // Adds units. Answers 1, or 0 when they were refused.
  int Release(long lCount);

  void ResetInForkedChild();
};

// The reader/writer lock under CWyErrLogGuard. Writers are preferred: a new reader waits behind a
// waiting writer; a guard that becomes free goes to one waiting writer first, otherwise to all
// readers waiting at that moment. Ownership passes inside Unlock, before the admitted threads wake.
// Not recursive. Readers that meet no writer are counted in one atomic word and enter no critical
// section.
//
// A forked child finds every guard held by its one thread's own holds alone, and free otherwise;
// no fork happens while another thread holds a guard for writing (see CWyForkGate).
class CWyGuard : public CWyForkLink {
 public:
  CWyGuard();  // throws std::bad_alloc when the system has no semaphore for it
  ~CWyGuard();
  CWyGuard(const CWyGuard&) = delete;
  CWyGuard& operator=(const CWyGuard&) = delete;

  void LockForRead() {
    if (!TryLockForRead()) WaitForRead();
  }
  void LockForWrite();
  void Unlock();
  // The same for a caller that knows that it reads.
  void UnlockReader() {
    // With a writer waiting for the last reader, nobody else can be admitted in between.
    if (m_uActive.fetch_sub(1, std::memory_order_acq_rel) == (Writer | 1)) AdmitWriter();
  }

  // Without waiting: only when no writer holds the guard or waits for it.
  bool TryLockForRead() {
    unsigned int uActive = m_uActive.load(std::memory_order_relaxed);
    while ((uActive & Writer) == 0) {
      if (m_uActive.compare_exchange_weak(uActive, uActive + 1, std::memory_order_acquire,
                                          std::memory_order_relaxed)) {
        return true;
      }
    }
    return false;
  }
  // Only when readers hold the guard: goes past the writers that wait for them.
  bool JoinReaders();

  // In a forked child: forgets the parent's threads. `iOwnHold` is 1 when the surviving thread
  // holds the guard for reading, -1 for writing, 0 when it does not.
  void ResetInForkedChild(int iOwnHold);

 private:
  // A writer holds the guard or waits for it: readers must wait.
  static constexpr unsigned int Writer = 0x80000000u;

  void WaitForRead();
  void UnlockWriter();
  void AdmitWriter();

  // The readers that hold the guard, and perhaps Writer, which changes inside m_cs alone. While a
  // writer holds the guard there are no readers.
  std::atomic<unsigned int> m_uActive;
  CWyErrLogCriticalSection m_cs;
  CWyErrLogSemaphore m_readerSem;
  CWyErrLogSemaphore m_writerSem;
  // Changed inside m_cs.
  int m_iWaitingReaders;
  int m_iWaitingWriters;
};

// ---- Fork ---------------------------------------------------------------------------------------

// Sections that a fork must not catch half way: the installing and removing of outputs and
// configurations (every write hold of a guard passes through here by itself) and the first making
// of process-wide objects. A fork waits until no other thread is inside; a thread that is inside
// may fork itself, and enter again.
class CWyForkGate {
 public:
  CWyForkGate() { Enter(); }
  ~CWyForkGate() { Leave(); }
  CWyForkGate(const CWyForkGate&) = delete;
  CWyForkGate& operator=(const CWyForkGate&) = delete;

  static void Enter();
  static void Leave();

  // Takes the calling thread out of its sections for a scope: it runs code of the host, or waits
  // for a thread that does, and the host may fork there. What the sections protect must be whole.
  class Outside {
   public:
    Outside();
    ~Outside();
    Outside(const Outside&) = delete;
    Outside& operator=(const Outside&) = delete;

   private:
    int m_iSections;
  };

 private:
  static void Move(int iSections);
};

// The one object of its class in this process, made by the first call of Get, which answers null as
// long as there is no memory for it: T tells by IsUsable whether there was. At process exit it is
// released (its End), but never destroyed: threads that outlive main may still come to use it.
template <typename T>
class CWyProcessObject {
 public:
  static T* Get() {
    if (T* pMade = s_pMade.load(std::memory_order_acquire)) return pMade;
    // What is called by the making (a plug-in's constructor, say) gets the object as far as it is.
    if (s_bMaking) return Storage();
    const CWyForkGate gate;  // a forked child must not find the making half done
    return WyNoThrow<T*>(nullptr, [] {
      static const CWyProcessObject s_object;  // a making that failed is tried again
      return Storage();
    });
  }

  // Releases the object for good, if it has been made: at process exit, when the components that it
  // uses are about to be destroyed.
  static void End() {
    if (s_pMade.load() == nullptr) return;
    s_bEnded.store(true);
    Storage()->End();
  }
  static bool HasEnded() { return s_bEnded.load(); }

  CWyProcessObject(const CWyProcessObject&) = delete;
  CWyProcessObject& operator=(const CWyProcessObject&) = delete;

 private:
  CWyProcessObject() {
    const Making making;
    T* const pObject = new (s_storage) T;
    if (!pObject->IsUsable()) {
      pObject->~T();
      throw std::bad_alloc();
    }
    s_pMade.store(pObject, std::memory_order_release);
  }
  ~CWyProcessObject() { End(); }

  struct Making {
    Making() { s_bMaking = true; }
    ~Making() { s_bMaking = false; }
  };

  static T* Storage() { return std::launder(reinterpret_cast<T*>(s_storage)); }

  static inline constinit std::atomic<T*> s_pMade{nullptr};
  static inline constinit std::atomic<bool> s_bEnded{false};
  static inline constinit thread_local bool s_bMaking = false;
  alignas(T) static inline unsigned char s_storage[sizeof(T)];
};

class CWyReadSections;

// What a fork has to look after: the guards and critical sections of this process, which register
// themselves, so that a forked child finds them usable. The registry is never destroyed.
//
// A critical section that is registered is entered before the fork and left after it, in both
// processes. So no thread may enter one while it holds another one of them.
//
// Takes no memory: the members are links themselves.
class CWyForkRegistry {
 public:
  static void Add(CWyErrLogCriticalSection& cs);  // again: no effect
  static void Remove(CWyErrLogCriticalSection& cs);
  static void Add(CWyGuard& guard);
  static void Remove(CWyGuard& guard);
  static void Add(CWyReadSections& sections);
  static void Remove(CWyReadSections& sections);
};

// Held while the C library converts a time, which it does under a lock of its own: a child forked
// meanwhile would find that lock taken for ever. A fork waits for this section after all others, so
// it may be entered inside any of them.
CWyErrLogCriticalSection& WyTimeConversionSection();

// The id of this process, asked of the system once per process; a forked child has its own.
int WyProcessId();

// ---- Lookups without a lock ---------------------------------------------------------------------

// Lets many threads read what is nearly never removed, without a lock: a reader holds a section
// while it uses the data, and the remover, having made the data unreachable, waits until the
// sections that were open are closed. The counts are spread over cache lines, so that readers on
// several processors do not slow each other down. A forked child finds no section open.
class CWyReadSections : public CWyForkLink {
 public:
  CWyReadSections() { CWyForkRegistry::Add(*this); }
  ~CWyReadSections() { CWyForkRegistry::Remove(*this); }
  CWyReadSections(const CWyReadSections&) = delete;
  CWyReadSections& operator=(const CWyReadSections&) = delete;

  class Scope {
   public:
    explicit Scope(CWyReadSections& sections);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    std::atomic<long>& m_lCount;
  };

  // Waits until every section opened before the call is closed.
  void WaitForReaders() const;

  void ResetInForkedChild();

 private:
  struct alignas(64) Slot {
    std::atomic<long> lCount{0};
  };
  std::array<Slot, 16> m_slots;
};

// ---- Thread-specific slots ----------------------------------------------------------------------

// A thread-specific slot, null in a thread that never set it.
class CpaTls {
 public:
  explicit CpaTls(void (*pfnDestructor)(void*));
  ~CpaTls();
  CpaTls(const CpaTls&) = delete;
  CpaTls& operator=(const CpaTls&) = delete;

  void* GetValue();
  int SetValue(void* pValue);  // 0, or the system's error number

 private:
  unsigned int m_uKey;
};

#endif
