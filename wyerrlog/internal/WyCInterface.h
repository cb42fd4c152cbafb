#ifndef WYERRLOG_INTERNAL_WYCINTERFACE_H
#define WYERRLOG_INTERNAL_WYCINTERFACE_H

// What the functions for C (wyerrlog_c.h) have in common: where exceptions end, and how the handles
// of C become objects.

#include <cxxabi.h>

#include <cerrno>
#include <new>
#include <string_view>

#include "wyerrlog/WyCallSite.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/wyerrlog_c.h"

// Runs the body of a function for C and returns its result; `failure`, with errno set, if it
// throws. The cancellation of a thread (pthread_cancel(3)), which unwinds the stack like an
// exception, has to pass: to stop it would end the process.
template <typename Result, typename Body>
Result WyCallFromC(Result failure, Body body) {
  try {
    return body();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
  } catch (...) {
    errno = EIO;
  }
  return failure;
}

// Returns `failure` with errno set.
template <typename Result>
Result WyFailForC(int iErrno, Result failure) {
  errno = iErrno;
  return failure;
}

// The logger of a handle.
inline CWyLogger& WyLoggerOf(wyerrlog_logger* pHandle) {
  return pHandle != nullptr ? *reinterpret_cast<CWyLogger*>(pHandle) : *theLogger();
}

inline wyerrlog_logger* WyHandleOf(CWyLogger* pLogger) {
  return reinterpret_cast<wyerrlog_logger*>(pLogger);
}

inline bool WyIsLog(int iLog) { return iLog >= WYERRLOG_ERROR_LOG && iLog <= WYERRLOG_AUDIT_LOG; }

// The place of a call; null texts count as empty ones.
inline WyCallSite WyPlaceOf(const char* pszFile, int iLine, const char* pszFunction) {
  return {pszFile != nullptr ? pszFile : "", iLine, pszFunction != nullptr ? pszFunction : ""};
}

// The text of wyerrlog_error for the calling thread. A new one is cut to 511 bytes; errno stays.
const char* WyErrorForC() noexcept;
void WySetErrorForC(std::string_view strText) noexcept;

#endif
