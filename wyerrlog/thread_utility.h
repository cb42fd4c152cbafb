#ifndef WYERRLOG_THREAD_UTILITY_H
#define WYERRLOG_THREAD_UTILITY_H

// Thread ids and thread-specific keys, as unsigned numbers.

// Sets the id variable to 0: no thread.
void initializeThreadId(unsigned long* pId);

// The id of the thread with the given POSIX handle: the handle itself, unchanged.
unsigned long getThreadId(unsigned long threadHandle);

// Sets the key variable to 0: no key.
void initializeThreadKey(unsigned int* pKey);

// pthread_getspecific and pthread_setspecific for callers in the middle of somebody else's work:
// the calling thread's errno is as it was before.
void* WyTlsGetValue(unsigned int uKey);
void WyTlsSetValue(unsigned int uKey, void* pValue);

#endif
