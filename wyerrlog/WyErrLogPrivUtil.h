#ifndef WYERRLOG_WYERRLOGPRIVUTIL_H
#define WYERRLOG_WYERRLOGPRIVUTIL_H

// Private: the locks under CWyErrLogCS and CWyErrLogGuard, and thread-specific slots.

#include <atomic>

#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/internal/WyForkHandling.h"

// The mutex under CWyErrLogCS. Not recursive.
class CWyErrLogCriticalSection : public CWyForkMutex {
 public:
  void Enter() WYERRLOG_ACQUIRE() { lock(); }
  void Leave() WYERRLOG_RELEASE() { unlock(); }
};

// Base of objects that threads wait for by handle. The destructor closes the handle.
class CWyErrLogSyncBase {
 public:
  CWyErrLogSyncBase();
  ~CWyErrLogSyncBase();
  CWyErrLogSyncBase(const CWyErrLogSyncBase&) = delete;
  CWyErrLogSyncBase& operator=(const CWyErrLogSyncBase&) = delete;

  // Returns 0 if a unit was taken, 1 if none was available, and -1 on failure: there is no handle,
  // or it is being closed. `ulTimeout` is that of WyErrLogUtilWaitForSingleObject.
  int Wait(unsigned long ulTimeout);

 protected:
  void* m_hSem;
};

// A counting semaphore.
class CWyErrLogSemaphore : public CWyErrLogSyncBase {
 public:
  // Without `bCreate`, or if creation fails, there is no handle: every wait and release fails.
  CWyErrLogSemaphore(long lInitial, long lMax, bool bCreate);

  bool IsCreated() const { return m_hSem != nullptr; }

  // Adds units. Returns 1, or 0 if they were refused.
  int Release(long lCount);

  // Sets it to 0 units in a forked child.
  void ResetInForkedChild();
};

// The reader-writer lock under CWyErrLogGuard. Writers are preferred: a new reader waits behind a
// waiting writer; a lock that becomes free goes to one waiting writer first, otherwise to all
// readers waiting at that moment. Ownership passes inside Unlock, before the admitted threads wake.
// Not recursive. Readers that meet no writer are counted in one atomic word and take no mutex.
//
// A forked child finds every lock held as far as its one thread holds it, and free otherwise. No
// fork happens while another thread holds one for writing (see CWyForkGate).
class CWyGuard : public CWyForkReset {
 public:
  CWyGuard();  // throws std::bad_alloc if the system has no semaphore for it
  ~CWyGuard();
  CWyGuard(const CWyGuard&) = delete;
  CWyGuard& operator=(const CWyGuard&) = delete;

  void LockForRead() {
    if (!TryLockForRead()) WaitForRead();
  }
  void LockForWrite();
  void Unlock();
  // The same for a caller that holds the lock for reading.
  void UnlockReader() {
    // With a writer waiting for the last reader, no other thread can be admitted in between.
    if (m_uActive.fetch_sub(1, std::memory_order_acq_rel) == (Writer | 1)) AdmitWriter();
  }

  // Never waits. Returns false if a writer holds the lock or waits for it.
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
  // Never waits. Returns false unless readers hold the lock; writers that wait for these readers
  // are passed. For a thread that would deadlock if it waited.
  bool JoinReaders();

 private:
  // The bit of m_uActive that says that a writer holds the lock or waits for it: readers must wait.
  static constexpr unsigned int Writer = 0x80000000u;

  static void Reset(CWyForkReset& guard);
  void WaitForRead();
  void UnlockWriter();
  void AdmitWriter();

  // The number of readers that hold the lock, and perhaps Writer, which changes only with m_mutex
  // held. While a writer holds the lock there are no readers.
  std::atomic<unsigned int> m_uActive;
  CWyMutex m_mutex;
  CWyErrLogSemaphore m_readerSem;
  CWyErrLogSemaphore m_writerSem;
  int m_iWaitingReaders WYERRLOG_GUARDED_BY(m_mutex);
  int m_iWaitingWriters WYERRLOG_GUARDED_BY(m_mutex);
};

// A thread-specific slot (pthread_key_create(3)), null in a thread that never set it. If the system
// has no key left, the value is always null and SetValue fails.
class CpaTls {
 public:
  // The function, if not null, is called at the end of each thread with the thread's value, unless
  // that is null.
  explicit CpaTls(void (*pfnDestructor)(void*));
  ~CpaTls();
  CpaTls(const CpaTls&) = delete;
  CpaTls& operator=(const CpaTls&) = delete;

  void* GetValue();
  int SetValue(void* pValue);  // returns 0, or the system's error number

 private:
  unsigned int m_uKey;
};

#endif
