// The functions for C that install and remove the outputs of logs. They alone report in words,
// because an administrator reads the reason of a log that cannot be opened.

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "wyerrlog/WyDescriptorOutput.h"
#include "wyerrlog/WyLogFile.h"
#include "wyerrlog/WyTraceCheck.h"
#include "wyerrlog/internal/WyCInterface.h"
#include "wyerrlog/internal/WyFileOptionsText.h"

namespace {

// Fails with a text, and with errno as the caller has set it.
int FailWith(const std::string& strText) {
  WySetErrorForC(strText);
  return 0;
}

// Reads path and options, and passes them on to a call that installs the output. The reason of a
// failure is in the texts that precede the call, or in errno.
template <typename Install>
int ToFile(const char* pszPath, const char* pszOptions, bool bTrace, Install install) {
  return WyCallFromC(0, [&] {
    WySetErrorForC("not enough memory");  // what an exception leaves
    WyTextOptions options;
    const std::string strRefused =
        WyReadFileOptions(pszOptions != nullptr ? pszOptions : "", bTrace, options);
    errno = EINVAL;
    if (!strRefused.empty()) return FailWith(strRefused);
    if (pszPath == nullptr || *pszPath == '\0') return FailWith("the log has no path");
    if (!install(options)) {
      const int iErrno = errno;
      const std::string strReason = std::generic_category().message(iErrno);
      errno = iErrno;
      return *WyErrorForC() != '\0' ? 0 : FailWith(pszPath + (": " + strReason));
    }
    return 1;
  });
}

int ToDescriptor(int hFile, int iPriority, bool (CWyLogger::*pfnInstall)(CWyLogOutput*),
                 wyerrlog_logger* pHandle) {
  return WyCallFromC(0, [&] {
    auto pOutput = std::make_unique<CWyDescriptorOutput>(hFile, iPriority);
    errno = ESHUTDOWN;  // if nothing else sets it
    if (!(WyLoggerOf(pHandle).*pfnInstall)(pOutput.get())) {
      const int iErrno = errno;
      WySetErrorForC("descriptor " + std::to_string(hFile) + ": " +
                     std::generic_category().message(iErrno));
      errno = iErrno;
      return 0;
    }
    static_cast<void>(pOutput.release());  // the logger deletes it
    WySetErrorForC("");
    return 1;
  });
}

// Sets the error to what makes the file no trace configuration; returns false if it is one.
bool ReportConfiguration(CWyLogger& logger, const char* pszConfig) {
  std::vector<WyTraceFinding> findings;
  if (WyCheckTraceConfiguration(logger, pszConfig, findings)) return false;
  const auto error = std::find_if(findings.begin(), findings.end(), [](const auto& finding) {
    return finding.level == WyTraceLevel::Error;
  });
  if (error == findings.end()) return false;
  std::string strText = pszConfig;
  if (error->uLine != 0) {
    strText += ':' + std::to_string(error->uLine) + ':' + std::to_string(error->uColumn);
  }
  strText += ": " + error->strText;
  if (!error->strHelp.empty()) strText += "; " + error->strHelp;
  WySetErrorForC(strText);
  return true;
}

bool TraceToFile(CWyLogger& logger, const char* pszPath, const char* pszConfig,
                 const WyTextOptions& options) {
  if (pszConfig == nullptr || *pszConfig == '\0') {
    WySetErrorForC("the trace has no configuration file");
    errno = EINVAL;
    return false;
  }
  WyTraceOptions trace;
  trace.config = pszConfig;
  trace.layout = options.iLayout;
  trace.delimiter = options.strDelimiter.empty() ? nullptr : options.strDelimiter.c_str();
  trace.file = options.file;
  if (WyTraceToFile(logger, pszPath, trace)) return true;
  const int iErrno = errno;
  const bool bConfiguration = ReportConfiguration(logger, pszConfig);
  // A file that can be opened, and is no configuration, leaves no reason of its own.
  errno = bConfiguration && iErrno == ENOTSUP ? EINVAL : iErrno;
  return false;
}

}  // namespace

const char* wyerrlog_error(void) { return WyErrorForC(); }

int wyerrlog_log_to_file(wyerrlog_logger* logger, const char* path, const char* options) {
  return ToFile(path, options, false, [&](const WyTextOptions& read) {
    WySetErrorForC("");
    return WyLogToFile(WyLoggerOf(logger), path, read.file);
  });
}

int wyerrlog_audit_to_file(wyerrlog_logger* logger, const char* path, const char* options) {
  return ToFile(path, options, false, [&](const WyTextOptions& read) {
    WySetErrorForC("");
    return WyAuditToFile(WyLoggerOf(logger), path, read.file);
  });
}

int wyerrlog_trace_to_file(wyerrlog_logger* logger, const char* path, const char* config,
                           const char* options) {
  return ToFile(path, options, true, [&](const WyTextOptions& read) {
    WySetErrorForC("");
    return TraceToFile(WyLoggerOf(logger), path, config, read);
  });
}

int wyerrlog_log_to_descriptor(wyerrlog_logger* logger, int descriptor, int priority) {
  return ToDescriptor(descriptor, priority, &CWyLogger::SetLogOutput, logger);
}

int wyerrlog_audit_to_descriptor(wyerrlog_logger* logger, int descriptor, int priority) {
  return ToDescriptor(descriptor, priority, &CWyLogger::EnableAuditLogRollover, logger);
}

int wyerrlog_close(wyerrlog_logger* logger, int log) {
  WySetErrorForC("");
  if (!WyIsLog(log)) {
    WySetErrorForC("there is no log of this number");
    return WyFailForC(EINVAL, 0);
  }
  return WyCallFromC(0, [&] {
    CWyLogger& target = WyLoggerOf(logger);
    if (log == WYERRLOG_ERROR_LOG) target.DisableLog();
    if (log == WYERRLOG_TRACE_LOG) target.DisableTrace(false);
    if (log == WYERRLOG_AUDIT_LOG) target.DisableAuditLog();
    return 1;
  });
}
