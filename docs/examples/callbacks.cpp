// Messages to a function of the host.
#include <wyerrlog/WyLog.h>

#include <cstdio>

// [callback]
// Called on each thread that logs, on several threads at once.
static void Print(const char* pszText, int iLength, void* pParam) {
  std::fprintf(static_cast<std::FILE*>(pParam), "callback: %.*s", iLength, pszText);
}
// [/callback]

int main() {
  // [install]
  CWyLogger& logger = *theLogger();
  CWyLogOutput* pOutput =
      logger.NewLogOutput(WyOutputType::SyncParameterizedCallback, Print, stdout);
  if (pOutput == nullptr || !logger.SetLogOutput(pOutput)) {
    logger.DeleteLogOutput(pOutput);
    return 1;
  }
  // [/install]

  constexpr unsigned int Warning = WyMessageId(WyComponentId(1), WySeverity::Warning, 1);
  return WyLog(Warning, "Disk almost full") ? 0 : 1;
}
