// consumer <log file> <folder of catalogs>: logs one message.
#include <wyerrlog/WyLog.h>
#include <wyxlate/WyXlate.h>

#include "WebAgent.h"

int main(int argc, char** argv) {
  if (argc != 3 || !CWyXlate::SetResourceDirectory(argv[2])) return 2;

  CWyLogger& logger = *theLogger();
  CWyLogOutput* pFile = logger.NewLogOutput(1, argv[1], 3, 10, 5);  // 10 MB, 5 backups
  if (pFile == nullptr || !logger.SetLogOutput(pFile)) {
    logger.DeleteLogOutput(pFile);
    return 1;
  }
  return WyLog(WebAgent::Started, "consumer", 8080) ? 0 : 1;
}
