// From a path and options to an installed output. The published class serves the options that it
// has, CWyAuditFileOutput the others.

#include "wyerrlog/WyLogFile.h"

#include <cerrno>
#include <memory>
#include <string>

#include "wyerrlog/WyAuditFileOutput.h"
#include "wyerrlog/internal/WyNoThrow.h"
#include "wyerrlog/internal/WyRecordFile.h"

namespace {

using OutputPtr = std::unique_ptr<CWyLogOutput>;

bool Fail(int iErrno) {
  errno = iErrno;
  return false;
}

bool IsForPublishedClass(const WyFileOptions& file) {
  return file.permissions == 0644 && !file.synchronous && !file.daily && file.maxAgeDays == 0 &&
         !file.shared;
}

OutputPtr NewOutput(const WyFileOptions& file) {
  if (!IsForPublishedClass(file)) return std::make_unique<CWyAuditFileOutput>(file);
  auto pOutput = std::make_unique<CWyFileOutput>();
  if (!pOutput->SetParams(file.path.c_str(), file.mode, file.maxSizeMB, file.backups)) {
    return nullptr;
  }
  return pOutput;
}

bool IsLayout(int iLayout) {
  return (iLayout >= WyTraceLayout::Brackets && iLayout <= WyTraceLayout::Xml) ||
         iLayout == WyTraceLayout::Json;
}

// The file's output, not open yet; null, with errno set, if there cannot be one.
OutputPtr NewOutput(const char* pszPath, const WyFileOptions& options) {
  errno = EINVAL;
  if (pszPath == nullptr || *pszPath == '\0' || !options.path.empty()) return nullptr;
  OutputPtr pOutput = WyNoThrow<OutputPtr>(nullptr, [&]() -> OutputPtr {
    WyFileOptions file = options;
    file.path = pszPath;
    if (file.path.find('/') == std::string::npos) file.path.insert(0, "./");
    if (!WyAreValid(file)) return nullptr;
    errno = ENOMEM;  // what is left to fail
    return NewOutput(file);
  });
  return pOutput;
}

// Passes the output to a call that installs it. Of a call that fails without a reason in errno the
// output has refused the file.
template <typename Install>
bool InstallNew(CWyLogger& logger, const char* pszPath, const WyFileOptions& options,
                Install install) {
  OutputPtr pOutput = NewOutput(pszPath, options);
  if (pOutput == nullptr) return false;
  if (logger.GetAvailableComponents() == nullptr) return Fail(ESHUTDOWN);
  errno = 0;
  if (!install(pOutput.get())) return Fail(errno != 0 ? errno : ENOTSUP);
  static_cast<void>(pOutput.release());
  return true;
}

}  // namespace

bool WyLogToFile(const char* pszPath, const WyFileOptions& options) {
  return WyLogToFile(*theLogger(), pszPath, options);
}

bool WyLogToFile(CWyLogger& logger, const char* pszPath, const WyFileOptions& options) {
  return InstallNew(logger, pszPath, options,
                    [&](CWyLogOutput* pOutput) { return logger.SetLogOutput(pOutput); });
}

bool WyAuditToFile(const char* pszPath, const WyFileOptions& options) {
  return WyAuditToFile(*theLogger(), pszPath, options);
}

bool WyAuditToFile(CWyLogger& logger, const char* pszPath, const WyFileOptions& options) {
  return InstallNew(logger, pszPath, options,
                    [&](CWyLogOutput* pOutput) { return logger.EnableAuditLogRollover(pOutput); });
}

bool WyTraceToFile(const char* pszPath, const WyTraceOptions& options) {
  return WyTraceToFile(*theLogger(), pszPath, options);
}

bool WyTraceToFile(CWyLogger& logger, const char* pszPath, const WyTraceOptions& options) {
  if (options.config == nullptr || *options.config == '\0') return Fail(EINVAL);
  if (!IsLayout(options.layout)) return Fail(EINVAL);
  return InstallNew(logger, pszPath, options.file, [&](CWyLogOutput* pOutput) {
    return logger.EnableTrace(pOutput, options.layout, options.delimiter, options.config,
                              logger.ShouldUseLocalTime(), false, false);
  });
}
