// Logs each message of the component once. session_store <log file> <folder of catalogs>
#include <wyerrlog/WyLog.h>
#include <wyxlate/WyXlate.h>

#include "SessionStoreMessages.h"

int main(int argc, char** argv) {
  if (argc != 3 || !CWyXlate::SetResourceDirectory(argv[2])) return 2;

  CWyLogger& logger = *theLogger();
  CWyLogOutput* pFile = logger.NewLogOutput(WyOutputType::File, argv[1], WyFileMode::Append, 0, 0);
  if (pFile == nullptr || !logger.SetLogOutput(pFile)) {
    logger.DeleteLogOutput(pFile);
    return 1;
  }

  WyLog(SessionStore::Opened, "/var/lib/sessions", 17);
  WyLog(SessionStore::Refused, "alice", 20000);
  WyLog(SessionStore::WriteFailed, "/var/lib/sessions", "No space left on device");
  return 0;
}
