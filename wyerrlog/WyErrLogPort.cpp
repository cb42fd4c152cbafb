// The handle layer on POSIX threads, and the two functions on top of the internal formatting and
// time conversion. A semaphore wakes one waiter at a time: each waiter that takes a unit wakes the
// next one while there are units and waiters.

#include "wyerrlog/WyErrLogPort.h"

#include <sched.h>
#include <sys/time.h>

#include <cstdint>
#include <new>
#include <utility>

#include "wyerrlog/internal/WyMutex.h"
#include "wyerrlog/internal/WyPlainFormat.h"
#include "wyerrlog/internal/WyTimeConversion.h"

// ---- Critical sections --------------------------------------------------------------------------

void WyErrLogUtilInitializeCriticalSection(pthread_mutex_t* pMutex) {
  pthread_mutex_init(pMutex, nullptr);
}

void WyErrLogUtilDeleteCriticalSection(pthread_mutex_t* pMutex) { pthread_mutex_destroy(pMutex); }

void WyErrLogUtilEnterCriticalSection(pthread_mutex_t* pMutex) { pthread_mutex_lock(pMutex); }

void WyErrLogUtilLeaveCriticalSection(pthread_mutex_t* pMutex) { pthread_mutex_unlock(pMutex); }

// ---- Counting semaphores ------------------------------------------------------------------------

namespace {

// A count under a mutex, with a condition for the waiters. sem_t would not do: here a count has a
// maximum, and closing wakes all waiters and waits until they have left. States: open, then
// closing, in which every call fails.
class CWySemaphoreRecord {
 public:
  CWySemaphoreRecord(std::int64_t lInitial, std::int64_t lMaximum)
      : m_lCount(lInitial), m_lMaximum(lMaximum) {}
  ~CWySemaphoreRecord() { pthread_cond_destroy(&m_condition); }
  CWySemaphoreRecord(const CWySemaphoreRecord&) = delete;
  CWySemaphoreRecord& operator=(const CWySemaphoreRecord&) = delete;

  bool Add(long lCount, long* plPrevious);
  int Wait(bool bForever);
  bool BeginClose();       // false if a close is under way already
  bool WakeAllForClose();  // true if no thread waits any more
  void ResetInForkedChild();

 private:
  void WakeNext() WYERRLOG_REQUIRES(m_mutex) {
    if (m_lCount > 0 && m_lWaiters > 0) pthread_cond_signal(&m_condition);
  }

  CWyMutex m_mutex;
  pthread_cond_t m_condition = PTHREAD_COND_INITIALIZER;
  std::int64_t m_lCount WYERRLOG_GUARDED_BY(m_mutex);
  const std::int64_t m_lMaximum;
  std::int64_t m_lWaiters WYERRLOG_GUARDED_BY(m_mutex) = 0;
  bool m_bClosing WYERRLOG_GUARDED_BY(m_mutex) = false;
};

// The subtraction cannot overflow: the count is never above the maximum, nor below 0.
bool CWySemaphoreRecord::Add(long lCount, long* plPrevious) {
  const CWyMutexLock lock(m_mutex);
  if (m_bClosing || m_lMaximum - m_lCount < lCount) return false;
  if (plPrevious != nullptr) *plPrevious = m_lCount;
  m_lCount += lCount;
  WakeNext();
  return true;
}

int CWySemaphoreRecord::Wait(bool bForever) {
  const CWyMutexLock lock(m_mutex);
  // A wait may end without a signal, and another thread may have taken the unit before.
  while (bForever && m_lCount <= 0 && !m_bClosing) {
    ++m_lWaiters;
    pthread_cond_wait(&m_condition, m_mutex.Native());
    --m_lWaiters;
  }
  if (m_bClosing) return WYERRLOG_WAIT_CLOSING;
  const bool bTaken = m_lCount > 0;
  if (bTaken) --m_lCount;
  // One signal stands for all units of an Add: the thread that was woken wakes the next one.
  WakeNext();
  return bTaken ? WYERRLOG_WAIT_ACQUIRED : WYERRLOG_WAIT_TIMEOUT;
}

// Of several closes one destroys the semaphore.
bool CWySemaphoreRecord::BeginClose() {
  const CWyMutexLock lock(m_mutex);
  return !std::exchange(m_bClosing, true);
}

// A waiter counts until it has the mutex again. So at 0 no thread is inside pthread_cond_wait(3)
// any more.
bool CWySemaphoreRecord::WakeAllForClose() {
  const CWyMutexLock lock(m_mutex);
  if (m_lWaiters > 0) pthread_cond_broadcast(&m_condition);
  return m_lWaiters == 0;
}

// The child has one thread, and may find the mutex locked by one that does not exist there. Mutex
// and condition are set to their initial state: destroying them in use is undefined.
void CWySemaphoreRecord::ResetInForkedChild() WYERRLOG_NO_THREAD_SAFETY_ANALYSIS {
  new (&m_mutex) CWyMutex;
  m_condition = PTHREAD_COND_INITIALIZER;
  m_lCount = 0;
  m_lWaiters = 0;
}

}  // namespace

void* WyErrLogUtilCreateSemaphore(void* pAttributes, long lInitial, long lMaximum,
                                  char* /*pszName*/) {
  if (pAttributes != nullptr || lInitial < 0 || lInitial > lMaximum) return nullptr;
  return new (std::nothrow) CWySemaphoreRecord(lInitial, lMaximum);
}

int WyErrLogUtilReleaseSemaphore(void* hSemaphore, long lCount, long* plPrevious) {
  if (hSemaphore == nullptr || lCount <= 0) return 0;
  return static_cast<CWySemaphoreRecord*>(hSemaphore)->Add(lCount, plPrevious) ? 1 : 0;
}

int WyErrLogUtilWaitForSingleObject(void* hSemaphore, unsigned long ulTimeout) {
  if (hSemaphore == nullptr) return WYERRLOG_WAIT_CLOSING;
  return static_cast<CWySemaphoreRecord*>(hSemaphore)->Wait(ulTimeout == WYERRLOG_INFINITE);
}

int WyErrLogUtilCloseHandle(void* hSemaphore) {
  if (hSemaphore == nullptr) return 0;
  const auto pSemaphore = static_cast<CWySemaphoreRecord*>(hSemaphore);
  if (!pSemaphore->BeginClose()) return 0;
  // Yields without the mutex, which the waiters need to leave.
  while (!pSemaphore->WakeAllForClose()) sched_yield();
  delete pSemaphore;
  return 1;
}

void WyErrLogUtilResetSemaphoreInForkedChild(void* hSemaphore) {
  if (hSemaphore == nullptr) return;
  static_cast<CWySemaphoreRecord*>(hSemaphore)->ResetInForkedChild();
}

// ---- Text and time ------------------------------------------------------------------------------

int VSNPRINTFEX(char* pszBuffer, int iSize, const char* pszFormat, va_list args) {
  return WyFormatBounded(pszBuffer, iSize, pszFormat, args);
}

// The milliseconds last: on failure they stay as they were.
bool WyErrLogGetCurrentTime(bool bLocal, tm& time, long& lMilliseconds) {
  timeval now;
  if (gettimeofday(&now, nullptr) != 0) {
    time = tm{};
    return false;
  }
  if (!WyBreakDownTime(now.tv_sec, bLocal, time)) return false;
  lMilliseconds = now.tv_usec / 1000;
  return true;
}
