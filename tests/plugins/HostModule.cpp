// A module of a host that is not linked to the library itself: logs a line to the file, and traces.

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyLoggerList.h"

extern "C" WYERRLOG_API bool LogToFile(const char* pszPath) {
  CWyLogger& logger = *getMyLogger("module");
  CWyLogOutput* const pOutput = logger.NewLogOutput(1, pszPath, 1, 0, 0);
  if (!logger.SetLogOutput(pOutput)) {
    logger.DeleteLogOutput(pOutput);
    return false;
  }
  CWyErrLogMessage msg;
  msg.FormatLogProlog("module.cpp", 1, 0);
  msg.FormatMessage(0x01000001, "from a module");
  CWyTraceData* pData = nullptr;
  return logger.LogErrMsg(msg) && !logger.ShouldTraceAlloc(0x01000000, &pData);
}
