// The check of a trace configuration: EnableTrace's first step, with an observer, whose result is
// thrown away.

#include "wyerrlog/WyTraceCheck.h"

#include <cerrno>
#include <new>
#include <system_error>

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/internal/WyTraceFindings.h"

class CWyTraceConfigCheck {
 public:
  static bool Run(CWyLogger& logger, const char* pszFile, std::vector<WyTraceFinding>& findings) {
    CWyTraceFindings observer(findings);
    if (!logger.IsUsable()) return observer.Finish("the logger is released");
    errno = 0;
    const auto pData = logger.NewTraceConfiguration(0, nullptr, pszFile, false, &observer);
    if (pData != nullptr || observer.HasBegun())
      return observer.Finish(nullptr) && pData != nullptr;
    const int iError = errno;
    const std::string strReason =
        pszFile == nullptr ? "no file is named"
                           : "cannot be opened: " + std::generic_category().message(iError);
    return observer.Finish(strReason.c_str());
  }
};

bool WyCheckTraceConfiguration(CWyLogger& logger, const char* pszFile,
                               std::vector<WyTraceFinding>& findings) {
  try {
    return CWyTraceConfigCheck::Run(logger, pszFile, findings);
  } catch (const std::bad_alloc&) {
    return false;
  }
}
