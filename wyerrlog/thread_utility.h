#ifndef WYERRLOG_THREAD_UTILITY_H
#define WYERRLOG_THREAD_UTILITY_H

// Thread ids and thread-specific keys, as unsigned numbers.

// Sets the id variable to 0: no thread. For hosts; the library itself keeps no such variable.
void initializeThreadId(unsigned long* pId);

// Returns the id of the thread with the given POSIX handle: the handle itself, unchanged.
unsigned long getThreadId(unsigned long threadHandle);

// Sets the key variable to 0: no key.
void initializeThreadKey(unsigned int* pKey);

// As pthread_getspecific(3) and pthread_setspecific(3), but the calling thread's errno stays as it
// was: the caller of the log call may be about to read it. Failures are not reported; a caller that
// must know reads the value back.
void* WyTlsGetValue(unsigned int uKey);
void WyTlsSetValue(unsigned int uKey, void* pValue);

#endif
