// The classes between the C-style functions of the handle layer and the public locks. The one idea
// of the reader-writer lock: m_uActive alone decides as long as no writer comes, and the mutex
// orders everything that happens around writers.

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
    const CWyMutexLock lock(m_mutex);
    if ((m_uActive.load(std::memory_order_relaxed) & Writer) == 0) {
      m_uActive.fetch_add(1, std::memory_order_acquire);
      return;
    }
    ++m_iWaitingReaders;
  }
  const CWyForkGate::Outside outside;  // see LockForWrite
  m_readerSem.Wait(WYERRLOG_INFINITE);
}

void CWyGuard::LockForWrite() {
  bool bMustWait;
  {
    const CWyMutexLock lock(m_mutex);
    bMustWait = m_uActive.fetch_or(Writer, std::memory_order_acquire) != 0;
    if (bMustWait) ++m_iWaitingWriters;
  }
  if (bMustWait) {
    // What the guards that the thread holds already protect is consistent here: a thread that
    // initialises a logger has changed nothing yet, and one that releases it has emptied the log of
    // each guard that it had.
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

void CWyGuard::AdmitWriter() {
  {
    const CWyMutexLock lock(m_mutex);
    --m_iWaitingWriters;
  }
  m_writerSem.Release(1);
}

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
  // The system refuses this number from now on; 0 may be another owner's key.
  if (pthread_key_create(&m_uKey, pfnDestructor) != 0) m_uKey = PTHREAD_KEYS_MAX;
}

CpaTls::~CpaTls() { pthread_key_delete(m_uKey); }

void* CpaTls::GetValue() { return pthread_getspecific(m_uKey); }

int CpaTls::SetValue(void* pValue) { return pthread_setspecific(m_uKey, pValue); }
