// Logs one message to the file error.log in the working directory.
#include <wyerrlog/WyLog.h>

int main() {
  CWyLogger& logger = *theLogger();

  CWyLogOutput* pFile =
      logger.NewLogOutput(WyOutputType::File, "./error.log", WyFileMode::AppendRollBySize, 10, 5);
  if (pFile == nullptr || !logger.SetLogOutput(pFile)) {
    logger.DeleteLogOutput(pFile);  // the caller still owns it
    return 1;
  }

  constexpr unsigned int Information = WyMessageId(WyComponentId(1), WySeverity::Information, 1);
  return WyLog(Information, "Server started") ? 0 : 1;
}
