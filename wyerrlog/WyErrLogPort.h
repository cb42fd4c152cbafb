#ifndef WYERRLOG_WYERRLOGPORT_H
#define WYERRLOG_WYERRLOGPORT_H

// The lowest module: the export macro, mutexes and counting semaphores behind C-style functions,
// bounded printf formatting, and the clock.
//
// Hosts need only the macros of this header; the functions are not exported.

#include <pthread.h>

#include <cstdarg>
#include <ctime>

// Marks what the shared library exports. Everything else is hidden.
#define WYERRLOG_API __attribute__((visibility("default")))
// Marks members of an exported class that are not exported.
#define WYERRLOG_LOCAL __attribute__((visibility("hidden")))

// ---- Critical sections --------------------------------------------------------------------------

// Initialise, destroy, lock and unlock a POSIX mutex with default attributes, hence not recursive
// (pthread_mutex_init(3) and its companions, whose results are not reported). The caller owns the
// storage of the mutex.
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

// Creates a semaphore with `lInitial` units of at most `lMaximum`. On success returns a handle that
// the caller owns until WyErrLogUtilCloseHandle. Returns null for attributes that are not null, for
// an initial count that is negative or above the maximum, and if memory allocation fails. The name
// is ignored. The other functions are thread-safe on one handle.
void* WyErrLogUtilCreateSemaphore(void* pAttributes, long lInitial, long lMaximum, char* pszName);

// Adds `lCount` units and wakes waiters one after another, as many as there are units. Returns 1;
// or 0, with the count unchanged, for a null handle, for a count of 0 or less or beyond the
// maximum, and while the handle is being closed. `plPrevious`, if not null, receives the units
// before a call that returns 1.
int WyErrLogUtilReleaseSemaphore(void* hSemaphore, long lCount, long* plPrevious);

// Takes one unit; waits for it only if the time-out is WYERRLOG_INFINITE. Returns a WYERRLOG_WAIT_
// value, for a null handle WYERRLOG_WAIT_CLOSING.
int WyErrLogUtilWaitForSingleObject(void* hSemaphore, unsigned long ulTimeout);

// Wakes every waiter (each returns WYERRLOG_WAIT_CLOSING), waits until the last one has left, and
// destroys the semaphore. Returns 1; or 0 for a null handle and if a close is already under way.
int WyErrLogUtilCloseHandle(void* hSemaphore);

// In a forked child: sets the semaphore to 0 units and no waiters, whatever the parent's threads
// were doing with it at the time of the fork. No effect on a null handle.
void WyErrLogUtilResetSemaphoreInForkedChild(void* hSemaphore);

// ---- Text and time ------------------------------------------------------------------------------

// Formats as vsnprintf(3) and reports the size needed. Returns the length written if the text fits
// in `iSize` bytes with its terminator; the size needed, terminator included, if it was cut (then
// greater than `iSize`); and a negative value, with an empty buffer, if formatting failed. A size
// of 0 or less means that there is no buffer.
int VSNPRINTFEX(char* pszBuffer, int iSize, const char* pszFormat, va_list args)
    __attribute__((format(printf, 3, 0)));

// Stores the current time, broken down as local time or UTC, and the milliseconds (0 to 999) within
// the second. Returns false, with `time` zeroed and `lMilliseconds` unchanged, if the clock
// (gettimeofday(2)) or the conversion (localtime_r(3), gmtime_r(3)) fails. Thread-safe, also in a
// child that was forked while other threads of the parent were inside the call.
//
// A thread converts each second once: a change of the time zone (TZ and tzset(3)) takes effect from
// the next second on.
bool WyErrLogGetCurrentTime(bool bLocal, tm& time, long& lMilliseconds);

#endif
