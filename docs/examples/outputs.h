#ifndef OUTPUTS_H
#define OUTPUTS_H

// What the programs of the guide have in common: installing an output.

#include <wyerrlog/WyLogger.h>

// [log-to]
// The error log of `logger` goes to the end of a file from now on.
inline bool LogTo(CWyLogger& logger, const char* pszPath) {
  CWyLogOutput* pFile = logger.NewLogOutput(1, pszPath, 1, 0, 0);
  if (pFile != nullptr && logger.SetLogOutput(pFile)) return true;
  logger.DeleteLogOutput(pFile);
  return false;
}
// [/log-to]

// [audit-to]
// The same for its audit log.
inline bool AuditTo(CWyLogger& logger, const char* pszPath) {
  CWyLogOutput* pFile = logger.NewLogOutput(1, pszPath, 1, 0, 0);
  if (pFile != nullptr && logger.EnableAuditLogRollover(pFile)) return true;
  logger.DeleteLogOutput(pFile);
  return false;
}
// [/audit-to]

// [trace-to]
// Its trace: what the configuration file selects, in one of the four layouts.
inline bool TraceTo(CWyLogger& logger, const char* pszPath, int iLayout, const char* pszConfig) {
  CWyLogOutput* pFile = logger.NewLogOutput(1, pszPath, 1, 0, 0);
  if (pFile != nullptr &&
      logger.EnableTrace(pFile, iLayout, " | ", pszConfig, true, false, false)) {
    return true;
  }
  logger.DeleteLogOutput(pFile);
  return false;
}
// [/trace-to]

#endif
