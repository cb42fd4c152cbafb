#include "wyerrlog/WyErrLogPort.h"

#include <sched.h>

#include <cstdint>
#include <memory>
#include <new>

void WyErrLogUtilInitializeCriticalSection(pthread_mutex_t* pMutex) {
  pthread_mutex_init(pMutex, nullptr);
}

void WyErrLogUtilDeleteCriticalSection(pthread_mutex_t* pMutex) { pthread_mutex_destroy(pMutex); }

void WyErrLogUtilEnterCriticalSection(pthread_mutex_t* pMutex) { pthread_mutex_lock(pMutex); }

void WyErrLogUtilLeaveCriticalSection(pthread_mutex_t* pMutex) { pthread_mutex_unlock(pMutex); }

namespace {

struct Semaphore {
  std::int64_t lCount;
  std::int64_t lMaxCount;
  std::int64_t lWaiters;
  int bClosing;
  pthread_mutex_t mutex;
  pthread_cond_t condition;

  // One wake-up at a time: each waiter that takes a unit wakes the next one.
  void WakeNext() {
    if (lCount > 0 && lWaiters > 0) pthread_cond_signal(&condition);
  }

  // Wakes who still waits; true when nobody does.
  bool WakeAllForClose();

  bool TryTake() {
    if (bClosing != 0 || lCount <= 0) return false;
    --lCount;
    return true;
  }
};

class MutexLock {
 public:
  explicit MutexLock(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
  ~MutexLock() { pthread_mutex_unlock(&m_mutex); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  pthread_mutex_t& m_mutex;
};

bool Semaphore::WakeAllForClose() {
  const MutexLock lock(mutex);
  if (lWaiters > 0) pthread_cond_broadcast(&condition);
  return lWaiters == 0;
}

}  // namespace

void* WyErrLogUtilCreateSemaphore(void* pAttributes, long lInitial, long lMaximum,
                                  char* /*pszName*/) {
  if (pAttributes != nullptr || lInitial < 0 || lInitial > lMaximum) return nullptr;
  std::unique_ptr<Semaphore> pSemaphore(new (std::nothrow) Semaphore{});
  if (pSemaphore == nullptr) return nullptr;
  if (pthread_mutex_init(&pSemaphore->mutex, nullptr) != 0) return nullptr;
  if (pthread_cond_init(&pSemaphore->condition, nullptr) != 0) {
    pthread_mutex_destroy(&pSemaphore->mutex);
    return nullptr;
  }
  pSemaphore->lMaxCount = lMaximum;
  pSemaphore->lCount = lInitial;
  return pSemaphore.release();
}

int WyErrLogUtilReleaseSemaphore(void* hSemaphore, long lCount, long* plPrevious) {
  if (hSemaphore == nullptr || lCount <= 0) return 0;
  auto& semaphore = *static_cast<Semaphore*>(hSemaphore);
  const MutexLock lock(semaphore.mutex);
  if (semaphore.bClosing != 0 || semaphore.lMaxCount - semaphore.lCount < lCount) return 0;
  if (plPrevious != nullptr) *plPrevious = semaphore.lCount;
  semaphore.lCount += lCount;
  semaphore.WakeNext();
  return 1;
}

int WyErrLogUtilWaitForSingleObject(void* hSemaphore, unsigned long ulTimeout) {
  if (hSemaphore == nullptr) return WYERRLOG_WAIT_CLOSING;
  auto& semaphore = *static_cast<Semaphore*>(hSemaphore);
  const MutexLock lock(semaphore.mutex);
  while (ulTimeout == WYERRLOG_INFINITE && semaphore.lCount <= 0 && semaphore.bClosing == 0) {
    ++semaphore.lWaiters;
    pthread_cond_wait(&semaphore.condition, &semaphore.mutex);
    --semaphore.lWaiters;
  }
  if (semaphore.bClosing != 0) return WYERRLOG_WAIT_CLOSING;
  const int iResult = semaphore.TryTake() ? WYERRLOG_WAIT_ACQUIRED : WYERRLOG_WAIT_TIMEOUT;
  semaphore.WakeNext();
  return iResult;
}

int WyErrLogUtilCloseHandle(void* hSemaphore) {
  if (hSemaphore == nullptr) return 0;
  auto* const pSemaphore = static_cast<Semaphore*>(hSemaphore);
  {
    const MutexLock lock(pSemaphore->mutex);
    if (pSemaphore->bClosing != 0) return 0;
    pSemaphore->bClosing = 1;
  }
  while (!pSemaphore->WakeAllForClose()) sched_yield();
  pthread_cond_destroy(&pSemaphore->condition);
  pthread_mutex_destroy(&pSemaphore->mutex);
  delete pSemaphore;
  return 1;
}

void WyErrLogUtilResetSemaphoreInForkedChild(void* hSemaphore) {
  if (hSemaphore == nullptr) return;
  auto& semaphore = *static_cast<Semaphore*>(hSemaphore);
  pthread_mutex_init(&semaphore.mutex, nullptr);
  pthread_cond_init(&semaphore.condition, nullptr);
  semaphore.lCount = 0;
  semaphore.lWaiters = 0;
}
