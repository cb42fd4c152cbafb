// Thread ids, and thread-specific values that leave errno alone: log calls read and write them, and
// a host that logs a failed call reads its errno afterwards.

#include "wyerrlog/thread_utility.h"

#include <pthread.h>

#include <cerrno>

void initializeThreadId(unsigned long* pId) { *pId = 0; }

unsigned long getThreadId(unsigned long threadHandle) { return threadHandle; }

void initializeThreadKey(unsigned int* pKey) { *pKey = 0; }

void* WyTlsGetValue(unsigned int uKey) {
  const int iErrno = errno;
  void* const pValue = pthread_getspecific(uKey);
  errno = iErrno;
  return pValue;
}

// The C library may allocate memory for a value, which sets errno if it fails.
void WyTlsSetValue(unsigned int uKey, void* pValue) {
  const int iErrno = errno;
  pthread_setspecific(uKey, pValue);
  errno = iErrno;
}
