#include "wyerrlog/WyErrLogPrivUtil.h"

#include <sched.h>

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
    : m_readerSem(0, std::numeric_limits<long>::max(), true),
      m_writerSem(0, std::numeric_limits<long>::max(), true),
      m_iWaitingReaders(0),
      m_iWaitingWriters(0),
      m_iActive(0) {
  CWyForkRegistry::Add(*this);
}

CWyGuard::~CWyGuard() { CWyForkRegistry::Remove(*this); }

void CWyGuard::LockForRead() {
  m_cs.Enter();
  const bool bMustWait = m_iWaitingWriters != 0 || m_iActive < 0;
  ++(bMustWait ? m_iWaitingReaders : m_iActive);
  m_cs.Leave();
  if (bMustWait) m_readerSem.Wait(WYERRLOG_INFINITE);
}

void CWyGuard::LockForWrite() {
  m_cs.Enter();
  const bool bMustWait = m_iActive != 0;
  if (bMustWait) {
    ++m_iWaitingWriters;
  } else {
    m_iActive = -1;
  }
  m_cs.Leave();
  if (bMustWait) m_writerSem.Wait(WYERRLOG_INFINITE);
  CWyForkGate::Enter();
}

void CWyGuard::Unlock() {
  CWyErrLogSemaphore* pAdmitted = nullptr;
  long lAdmitted = 0;
  m_cs.Enter();
  if (m_iActive < 0) CWyForkGate::Leave();
  m_iActive += m_iActive > 0 ? -1 : 1;
  if (m_iActive == 0 && m_iWaitingWriters > 0) {
    m_iActive = -1;
    --m_iWaitingWriters;
    pAdmitted = &m_writerSem;
    lAdmitted = 1;
  } else if (m_iActive == 0 && m_iWaitingReaders > 0) {
    m_iActive = m_iWaitingReaders;
    m_iWaitingReaders = 0;
    pAdmitted = &m_readerSem;
    lAdmitted = m_iActive;
  }
  m_cs.Leave();
  if (pAdmitted != nullptr) pAdmitted->Release(lAdmitted);
}

void CWyGuard::ResetInForkedChild(int iOwnHolds) {
  // The parent's other threads may have been anywhere inside these objects. They start afresh in
  // place: destroying them would wait for threads that do not exist here.
  new (&m_cs) CWyErrLogCriticalSection;
  m_readerSem.ResetInForkedChild();
  m_writerSem.ResetInForkedChild();
  m_iWaitingReaders = 0;
  m_iWaitingWriters = 0;
  m_iActive = iOwnHolds;
}

// ---- Lookups without a lock ---------------------------------------------------------------------

namespace {

// Threads take turns at the slots; a thread stays with the one it got.
std::size_t SlotOfThisThread(std::size_t uSlots) {
  static std::atomic<std::size_t> s_uNext{0};
  thread_local const std::size_t t_uSlot = s_uNext.fetch_add(1, std::memory_order_relaxed);
  return t_uSlot % uSlots;
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
  pthread_key_create(&m_uKey, pfnDestructor);
}

CpaTls::~CpaTls() { pthread_key_delete(m_uKey); }

void* CpaTls::GetValue() { return pthread_getspecific(m_uKey); }

int CpaTls::SetValue(void* pValue) { return pthread_setspecific(m_uKey, pValue); }
