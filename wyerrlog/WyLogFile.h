#ifndef WYERRLOG_WYLOGFILE_H
#define WYERRLOG_WYLOGFILE_H

// Logging to a file in one statement: creates the output, installs it in place of the one before,
// and deletes it if that fails.
//
//   if (!WyLogToFile("error.log", {.mode = WyFileMode::AppendRollBySize,
//                                  .maxSizeMB = 10,
//                                  .backups = 5})) {
//     std::perror("error.log");
//   }
//
// Compilers for C++17 take the members' names in braces too, with a warning if they are asked to be
// pedantic; otherwise set the members of a WyFileOptions one by one.

#include "wyerrlog/WyFileOptions.h"
#include "wyerrlog/WyLogger.h"

// Each writes a log of the process logger, or of the logger that is named first, to the file from
// now on: the error log, the audit log, or the trace. A path without a "/" is a file in the working
// directory. The options are those of WyFileOptions but for its path, which stays empty: the file
// is appended to unless they say otherwise. An option that would have no effect is refused.
//
// Return true if the file is open and installed. On failure return false, with errno set; the log
// has no output then, except in the cases marked *, in which nothing has changed:
//
//   EINVAL *    no path, a path in the options too, or options that are out of range or have no
//               effect (see CWyAuditFileOutput::Open)
//   ENOMEM *    memory allocation failed
//   ESHUTDOWN * the logger is released
//   EDEADLK *   the call comes from a callback or an output of the same log
//   ENOTSUP     the path names neither a regular file nor a character device, or it is one that the
//               mode cannot rename
//   EACCES, ENOENT, ENOTDIR, EISDIR, EROFS, ENOSPC, EMFILE ...
//               of open(2), or of rename(2) in the modes that roll over at once
//
// The logger owns the output: it closes the file when another output is installed, when the log is
// disabled, and at process exit. Thread-safe.
[[nodiscard]] WYERRLOG_API bool WyLogToFile(const char* pszPath, const WyFileOptions& options = {});
[[nodiscard]] WYERRLOG_API bool WyLogToFile(CWyLogger& logger, const char* pszPath,
                                            const WyFileOptions& options = {});
[[nodiscard]] WYERRLOG_API bool WyAuditToFile(const char* pszPath,
                                              const WyFileOptions& options = {});
[[nodiscard]] WYERRLOG_API bool WyAuditToFile(CWyLogger& logger, const char* pszPath,
                                              const WyFileOptions& options = {});

// What is traced, and how it looks.
struct WyTraceOptions {
  const char* config = nullptr;          // path of the trace configuration file; required
  int layout = WyTraceLayout::Brackets;  // a WyTraceLayout
  const char* delimiter = nullptr;       // of the layout Delimited
  WyFileOptions file = {};               // as above
};

// The same for the trace. Fails also if the configuration file cannot be read: errno is that of its
// open(2), and nothing has changed. A trace that was on goes on with the new file and configuration
// alone; the dates of records are as UseLocalTime of the logger has it.
//
//   WyTraceToFile("trace.log", {.config = "trace.conf"});
[[nodiscard]] WYERRLOG_API bool WyTraceToFile(const char* pszPath, const WyTraceOptions& options);
[[nodiscard]] WYERRLOG_API bool WyTraceToFile(CWyLogger& logger, const char* pszPath,
                                              const WyTraceOptions& options);

#endif
