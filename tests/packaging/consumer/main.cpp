// consumer <log file> <folder of catalogs>: logs one message.
#include <wyerrlog/WyLog.h>
#include <wyxlate/WyXlate.h>

#include "WebAgent.h"

int main(int argc, char** argv) {
  if (argc != 3 || !CWyXlate::SetResourceDirectory(argv[2])) return 2;

  CWyLogger& logger = *theLogger();
  // At most 10 MB in a file, and 5 backups.
  CWyLogOutput* pFile =
      logger.NewLogOutput(WyOutputType::File, argv[1], WyFileMode::AppendRollBySize, 10, 5);
  if (pFile == nullptr || !logger.SetLogOutput(pFile)) {
    logger.DeleteLogOutput(pFile);
    return 1;
  }
  return WyLog(WebAgent::Started, "consumer", 8080) ? 0 : 1;
}
