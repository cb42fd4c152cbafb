#include "wyerrlog/WyErrLogPrivUtil.h"

#include <sched.h>

#include <climits>
#include <limits>
#include <new>

// ---- Critical section and semaphore -------------------------------------------------------------

CWyErrLogCriticalSection::~CWyErrLogCriticalSection() {
  WyErrLogUtilDeleteCriticalSection(&m_mutex);
}

void CWyErrLogCriticalSection::Enter() { WyErrLogUtilEnterCriticalSection(&m_mutex); }

void CWyErrLogCriticalSection::Leave() { WyErrLogUtilLeaveCriticalSection(&m_mutex); }

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

// ---- Reader/writer guard ------------------------------------------------------------------------

CWyGuard::CWyGuard()
    : m_uActive(0),
      m_readerSem(0, std::numeric_limits<long>::max(), true),
      m_writerSem(0, std::numeric_limits<long>::max(), true),
      m_iWaitingReaders(0),
      m_iWaitingWriters(0) {
  if (!m_readerSem.IsMade() || !m_writerSem.IsMade()) throw std::bad_alloc();
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
  m_cs.Enter();
  const bool bMustWait = (m_uActive.load(std::memory_order_relaxed) & Writer) != 0;
  if (bMustWait) {
    ++m_iWaitingReaders;
  } else {
    m_uActive.fetch_add(1, std::memory_order_acquire);
  }
  m_cs.Leave();
  if (!bMustWait) return;
  const CWyForkGate::Outside outside;  // see LockForWrite
  m_readerSem.Wait(WYERRLOG_INFINITE);
}

void CWyGuard::LockForWrite() {
  m_cs.Enter();
  const bool bMustWait = m_uActive.fetch_or(Writer, std::memory_order_acquire) != 0;
  if (bMustWait) ++m_iWaitingWriters;
  m_cs.Leave();
  if (bMustWait) {
    // What a guard that is held already protects is whole here: one that initialises a logger has
    // changed nothing yet, and one that releases it has emptied the log of each guard it had.
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
  m_cs.Enter();
  --m_iWaitingWriters;
  m_cs.Leave();
  m_writerSem.Release(1);
}

void CWyGuard::UnlockWriter() {
  CWyForkGate::Leave();
  m_cs.Enter();
  const bool bWriterNext = m_iWaitingWriters > 0;
  const int iReadersNext = bWriterNext ? 0 : m_iWaitingReaders;
  if (bWriterNext) {
    --m_iWaitingWriters;
  } else {
    m_iWaitingReaders = 0;
    m_uActive.store(static_cast<unsigned int>(iReadersNext), std::memory_order_release);
  }
  m_cs.Leave();
  if (bWriterNext) m_writerSem.Release(1);
  if (iReadersNext > 0) m_readerSem.Release(iReadersNext);
}

void CWyGuard::ResetInForkedChild(int iOwnHold) {
  // The parent's other threads may have been anywhere inside these objects. They start afresh in
  // place: destroying them would wait for threads that do not exist here.
  new (&m_cs) CWyErrLogCriticalSection;
  m_readerSem.ResetInForkedChild();
  m_writerSem.ResetInForkedChild();
  m_iWaitingReaders = 0;
  m_iWaitingWriters = 0;
  m_uActive = iOwnHold < 0 ? Writer : static_cast<unsigned int>(iOwnHold);
}

// ---- Lookups without a lock ---------------------------------------------------------------------

namespace {

// Threads take turns at the slots; a thread stays with the one it got.
std::size_t SlotOfThisThread(std::size_t uSlots) {
  static constinit std::atomic<std::size_t> s_uLast{0};
  static constinit thread_local std::size_t s_uTurn = 0;
  if (s_uTurn == 0) s_uTurn = s_uLast.fetch_add(1, std::memory_order_relaxed) + 1;
  return s_uTurn % uSlots;
}

}  // namespace

// Entering a section and making the data unreachable are both followed by a look at what the other
// side did. Sequential consistency sees to it that one of the two sees the other.
CWyReadSections::Scope::Scope(CWyReadSections& sections)
    : m_lCount(sections.m_slots[SlotOfThisThread(sections.m_slots.size())].lCount) {
  m_lCount.fetch_add(1, std::memory_order_seq_cst);
}

CWyReadSections::Scope::~Scope() { m_lCount.fetch_sub(1, std::memory_order_release); }

void CWyReadSections::WaitForReaders() const {
  for (const Slot& slot : m_slots) {
    while (slot.lCount.load(std::memory_order_seq_cst) > 0) sched_yield();
  }
}

void CWyReadSections::ResetInForkedChild() {
  for (Slot& slot : m_slots) slot.lCount.store(0, std::memory_order_relaxed);
}

// ---- Thread-specific slots ----------------------------------------------------------------------

CpaTls::CpaTls(void (*pfnDestructor)(void*)) : m_uKey(0) {
  // Without a key there is never a value; 0 may be the key of somebody else.
  if (pthread_key_create(&m_uKey, pfnDestructor) != 0) m_uKey = PTHREAD_KEYS_MAX;
}

CpaTls::~CpaTls() { pthread_key_delete(m_uKey); }

void* CpaTls::GetValue() { return pthread_getspecific(m_uKey); }

int CpaTls::SetValue(void* pValue) { return pthread_setspecific(m_uKey, pValue); }
