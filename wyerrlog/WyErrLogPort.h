#ifndef WYERRLOG_WYERRLOGPORT_H
#define WYERRLOG_WYERRLOGPORT_H

// The ground floor: the export macro, critical sections and counting semaphores behind C-style
// functions, bounded printf formatting, and the clock.
//
// Hosts need only the macros of this header; the functions stay inside the library.

#include <pthread.h>

#include <cstdarg>
#include <ctime>

// Marks what the shared library exports. Everything else is hidden.
#define WYERRLOG_API __attribute__((visibility("default")))
// Marks what an exported class keeps to itself.
#define WYERRLOG_LOCAL __attribute__((visibility("hidden")))

// ---- Critical sections --------------------------------------------------------------------------

// Plain POSIX mutexes with default attributes, hence not recursive. The system's results are not
// reported. The caller owns the storage of the mutex.
void WyErrLogUtilInitializeCriticalSection(pthread_mutex_t* pMutex);
void WyErrLogUtilDeleteCriticalSection(pthread_mutex_t* pMutex);
void WyErrLogUtilEnterCriticalSection(pthread_mutex_t* pMutex);
void WyErrLogUtilLeaveCriticalSection(pthread_mutex_t* pMutex);

// ---- Counting semaphores ------------------------------------------------------------------------

// The only time-out that waits without limit. It is this 32-bit value also where unsigned long has
// 64 bits; every other value, 0 included, means not waiting at all.
inline constexpr unsigned long WYERRLOG_INFINITE = 0xFFFFFFFFUL;

inline constexpr int WYERRLOG_WAIT_CLOSING = 0;   // the handle is being closed
inline constexpr int WYERRLOG_WAIT_TIMEOUT = 1;   // no unit was available
inline constexpr int WYERRLOG_WAIT_ACQUIRED = 3;  // a unit was taken

// Creates a semaphore with `lInitial` units of at most `lMaximum`. Answers a handle that belongs to
// the caller until WyErrLogUtilCloseHandle, or null: for attributes that are not null, for an
// initial count that is negative or above the maximum, and when the system refuses. The name is
// ignored.
void* WyErrLogUtilCreateSemaphore(void* pAttributes, long lInitial, long lMaximum, char* pszName);

// Adds `lCount` units and wakes waiters one after another, as many as there are units. Answers 1,
// or 0 with the count unchanged: for a count of 0 or less, beyond the maximum, and while the handle
// is closing. `plPrevious`, when given, receives the units before the call that answered 1.
int WyErrLogUtilReleaseSemaphore(void* hSemaphore, long lCount, long* plPrevious);

// Takes one unit, waiting for it only with WYERRLOG_INFINITE. Answers a WYERRLOG_WAIT_ value.
int WyErrLogUtilWaitForSingleObject(void* hSemaphore, unsigned long ulTimeout);

// Wakes every waiter (each answers WYERRLOG_WAIT_CLOSING), waits until the last has left and
// destroys the semaphore. Answers 1, or 0 when a close is already under way.
int WyErrLogUtilCloseHandle(void* hSemaphore);

// In a forked child: a semaphore without units, whatever the parent's threads were doing with it at
// the time of the fork.
void WyErrLogUtilResetSemaphoreInForkedChild(void* hSemaphore);

// ---- Text and time ------------------------------------------------------------------------------

// vsnprintf with a report of the size needed. Answers the length written when the text fits in
// `iSize` bytes with its terminator; the size needed, terminator included, when it was cut (then
// greater than `iSize`); and a negative value, with an empty buffer, when formatting failed. A size
// of 0 or less is that of no buffer at all.
int VSNPRINTFEX(char* pszBuffer, int iSize, const char* pszFormat, va_list args)
    __attribute__((format(printf, 3, 0)));

// The current time, broken down as local time or UTC, with the milliseconds (0 to 999) within the
// second. Any thread may call it, also one in a child that was forked while other threads of the
// parent were asking for the time. Answers false, with `time` zeroed and `lMilliseconds` unchanged,
// when the clock (gettimeofday) or the conversion (localtime_r, gmtime_r) fails.
//
// A thread converts each second once: a change of the zone (TZ and tzset) is seen from the next
// second on.
bool WyErrLogGetCurrentTime(bool bLocal, tm& time, long& lMilliseconds);

#endif
