#ifndef OUTPUTS_H
#define OUTPUTS_H

// The programs of the guide install their outputs with these functions. On failure each
// deletes the new output and returns false.

#include <wyerrlog/WyLogger.h>

// [log-to]
// Appends the error log of `logger` to a file from now on.
inline bool LogTo(CWyLogger& logger, const char* pszPath) {
  CWyLogOutput* pFile = logger.NewLogOutput(WyOutputType::File, pszPath, WyFileMode::Append, 0, 0);
  if (pFile != nullptr && logger.SetLogOutput(pFile)) return true;
  logger.DeleteLogOutput(pFile);
  return false;
}
// [/log-to]

// [audit-to]
// Appends the audit log of `logger` to a file from now on.
inline bool AuditTo(CWyLogger& logger, const char* pszPath) {
  CWyLogOutput* pFile = logger.NewLogOutput(WyOutputType::File, pszPath, WyFileMode::Append, 0, 0);
  if (pFile != nullptr && logger.EnableAuditLogRollover(pFile)) return true;
  logger.DeleteLogOutput(pFile);
  return false;
}
// [/audit-to]

// [trace-to]
// Appends to a file what the configuration selects for the trace of `logger`, in one of the layouts
// (WyTraceLayout).
inline bool TraceTo(CWyLogger& logger, const char* pszPath, int iLayout, const char* pszConfig) {
  CWyLogOutput* pFile = logger.NewLogOutput(WyOutputType::File, pszPath, WyFileMode::Append, 0, 0);
  if (pFile != nullptr &&
      logger.EnableTrace(pFile, iLayout, " | ", pszConfig, true, false, false)) {
    return true;
  }
  logger.DeleteLogOutput(pFile);
  return false;
}
// [/trace-to]

#endif
