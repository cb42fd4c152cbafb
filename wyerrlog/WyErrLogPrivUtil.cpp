// The classes between the C-style functions of the handle layer and the public locks. The one idea
// of the reader-writer lock: m_uActive alone decides as long as no writer comes, and the mutex
// orders everything that happens around writers. The states of m_uActive:
//
//   0            free
//   n            n readers hold the lock
//   Writer | n   a writer waits for n readers, and later ones wait for the writer
//   Writer       a writer holds the lock

#include "wyerrlog/WyErrLogPrivUtil.h"

#include <climits>
#include <limits>
#include <new>
#include <utility>

#include "wyerrlog/internal/WyDeadlockCheck.h"

// ---- Semaphore ----------------------------------------------------------------------------------

CWyErrLogSyncBase::CWyErrLogSyncBase() : m_hSem(nullptr) {}

CWyErrLogSyncBase::~CWyErrLogSyncBase() {
  if (m_hSem != nullptr) WyErrLogUtilCloseHandle(m_hSem);
}

int CWyErrLogSyncBase::Wait(unsigned long ulTimeout) {
  switch (WyErrLogUtilWaitForSingleObject(m_hSem, ulTimeout)) {
    case WYERRLOG_WAIT_ACQUIRED:
      return 0;
    case WYERRLOG_WAIT_TIMEOUT:
      return 1;
    default:
      return -1;
  }
}

CWyErrLogSemaphore::CWyErrLogSemaphore(long lInitial, long lMax, bool bCreate) {
  if (bCreate) m_hSem = WyErrLogUtilCreateSemaphore(nullptr, lInitial, lMax, nullptr);
}

int CWyErrLogSemaphore::Release(long lCount) {
  return WyErrLogUtilReleaseSemaphore(m_hSem, lCount, nullptr);
}

void CWyErrLogSemaphore::ResetInForkedChild() { WyErrLogUtilResetSemaphoreInForkedChild(m_hSem); }

// ---- Reader-writer lock ------------------------------------------------------------------------

CWyGuard::CWyGuard()
    : CWyForkReset(Reset),
      m_uActive(0),
      m_readerSem(0, std::numeric_limits<long>::max(), true),
      m_writerSem(0, std::numeric_limits<long>::max(), true),
      m_iWaitingReaders(0),
      m_iWaitingWriters(0) {
  if (!m_readerSem.IsCreated() || !m_writerSem.IsCreated()) throw std::bad_alloc();
  CWyForkRegistry::Add(*this);
}

CWyGuard::~CWyGuard() { CWyForkRegistry::Remove(*this); }

// Any number of readers but 0 will do: the waiting writer is admitted by the last one to leave,
// which may be this one. From 0 readers the writer may have been admitted already.
bool CWyGuard::JoinReaders() {
  unsigned int uActive = m_uActive.load(std::memory_order_relaxed);
  while ((uActive & ~Writer) != 0) {
    if (m_uActive.compare_exchange_weak(uActive, uActive + 1, std::memory_order_acquire,
                                        std::memory_order_relaxed)) {
      return true;
    }
  }
  return false;
}

void CWyGuard::WaitForRead() {
  {
    // Writer changes only under the mutex, so this test decides: either there is no writer any
    // more, or UnlockWriter will find this thread counted.
    const CWyMutexLock lock(m_mutex);
    if ((m_uActive.load(std::memory_order_relaxed) & Writer) == 0) {
      m_uActive.fetch_add(1, std::memory_order_acquire);
      return;
    }
    ++m_iWaitingReaders;
  }
  // Without the mutex: the semaphore keeps a unit that comes before the wait.
  const CWyForkGate::Outside outside;  // see LockForWrite
  m_readerSem.Wait(WYERRLOG_INFINITE);
}

// Setting Writer turns later readers away, so that a stream of readers cannot keep the writer
// waiting indefinitely. The fork gate is entered last: a fork does not wait for a writer that waits
// itself.
void CWyGuard::LockForWrite() {
  bool bMustWait;
  {
    const CWyMutexLock lock(m_mutex);
    bMustWait = m_uActive.fetch_or(Writer, std::memory_order_acquire) != 0;
    if (bMustWait) ++m_iWaitingWriters;
  }
  if (bMustWait) {
    // What the guards that the thread holds already protect is consistent here: a thread that
    // initialises a logger has changed nothing yet, and one that releases it holds its lifecycle
    // guard alone.
    const CWyForkGate::Outside outside;
    m_writerSem.Wait(WYERRLOG_INFINITE);
  }
  CWyForkGate::Enter();
}

void CWyGuard::Unlock() {
  // With no reader in the word the caller is the writer: readers and a writer never hold the guard
  // together.
  if (m_uActive.load(std::memory_order_relaxed) == Writer) {
    UnlockWriter();
  } else {
    UnlockReader();
  }
}

// Called by one thread only: the reader that left Writer behind without readers.
void CWyGuard::AdmitWriter() {
  {
    const CWyMutexLock lock(m_mutex);
    --m_iWaitingWriters;
  }
  m_writerSem.Release(1);
}

// The gate is left first. A fork between the two steps finds whole what the guard protects, and the
// child frees the guard itself (Reset). The next writer takes over the bit as it stands: the guard
// is never free in between, so no reader overtakes.
void CWyGuard::UnlockWriter() {
  CWyForkGate::Leave();
  bool bWriterNext;
  int iReadersNext = 0;
  {
    const CWyMutexLock lock(m_mutex);
    bWriterNext = m_iWaitingWriters > 0;
    if (bWriterNext) {
      --m_iWaitingWriters;
    } else {
      // Counted as holders before they wake: what follows cannot take the lock from them.
      iReadersNext = std::exchange(m_iWaitingReaders, 0);
      m_uActive.store(static_cast<unsigned int>(iReadersNext), std::memory_order_release);
    }
  }
  if (bWriterNext) m_writerSem.Release(1);
  if (iReadersNext > 0) m_readerSem.Release(iReadersNext);
}

// The parent's other threads may have been anywhere inside these objects. They are constructed
// afresh in place: their destructors would wait for threads that do not exist here. The child has
// one thread, so no lock is needed.
void CWyGuard::Reset(CWyForkReset& object) WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
  auto& guard = static_cast<CWyGuard&>(object);
  const int iOwnHold = CWyGuardHold::OfThisThread(&guard);
  new (&guard.m_mutex) CWyMutex;
  guard.m_readerSem.ResetInForkedChild();
  guard.m_writerSem.ResetInForkedChild();
  guard.m_iWaitingReaders = 0;
  guard.m_iWaitingWriters = 0;
  guard.m_uActive = iOwnHold == CWyGuardHold::Write ? Writer : static_cast<unsigned int>(iOwnHold);
}

// ---- Thread-specific slots ----------------------------------------------------------------------

CpaTls::CpaTls(void (*pfnDestructor)(void*)) : m_uKey(0) {
  // The system refuses this number in every call; 0 may be another owner's key.
  if (pthread_key_create(&m_uKey, pfnDestructor) != 0) m_uKey = PTHREAD_KEYS_MAX;
}

CpaTls::~CpaTls() { pthread_key_delete(m_uKey); }

void* CpaTls::GetValue() { return pthread_getspecific(m_uKey); }

int CpaTls::SetValue(void* pValue) { return pthread_setspecific(m_uKey, pValue); }
