#ifndef WYERRLOG_INTERNAL_WYMUTEX_H
#define WYERRLOG_INTERNAL_WYMUTEX_H

// The mutex of the library, and its one scoped lock. They differ from std::mutex and
// std::lock_guard in two points: clang's analysis knows them, and a forked child can set a mutex
// that it cannot unlock to its initial state (see WyForkHandling.h).

#include <pthread.h>

#include "wyerrlog/internal/WyThreadSafety.h"

// Not recursive. A static object is usable before any code runs. Meets the standard library's
// requirements BasicLockable.
class WYERRLOG_CAPABILITY("mutex") CWyMutex {
 public:
  constexpr CWyMutex() : m_mutex(PTHREAD_MUTEX_INITIALIZER) {}
  ~CWyMutex() { pthread_mutex_destroy(&m_mutex); }
  CWyMutex(const CWyMutex&) = delete;
  CWyMutex& operator=(const CWyMutex&) = delete;

  void lock() WYERRLOG_ACQUIRE() { pthread_mutex_lock(&m_mutex); }
  void unlock() WYERRLOG_RELEASE() { pthread_mutex_unlock(&m_mutex); }

  // For pthread_cond_wait.
  pthread_mutex_t* Native() { return &m_mutex; }

 private:
  pthread_mutex_t m_mutex;
};

// Holds a mutex for a scope. As std::lock_guard, which has no annotations in this standard library.
class WYERRLOG_SCOPED_CAPABILITY CWyMutexLock {
 public:
  explicit CWyMutexLock(CWyMutex& mutex) WYERRLOG_ACQUIRE(mutex) : m_mutex(mutex) {
    m_mutex.lock();
  }
  ~CWyMutexLock() WYERRLOG_RELEASE() { m_mutex.unlock(); }
  CWyMutexLock(const CWyMutexLock&) = delete;
  CWyMutexLock& operator=(const CWyMutexLock&) = delete;

 private:
  CWyMutex& m_mutex;
};

#endif
