// The same records as with WyLog.h, step by step through the classes that it is built on.
// raw_classes <configuration> <folder of catalogs>
#include <wyerrlog/WyLogFile.h>
#include <wyerrlog/WyLogger.h>
#include <wyxlate/WyXlate.h>

#include "SessionStoreMessages.h"

int main(int argc, char** argv) {
  if (argc != 3 || !CWyXlate::SetResourceDirectory(argv[2])) return 2;
  CWyLogger& logger = *theLogger();
  logger.UseLocalTime(true);
  WyTraceOptions options;
  options.config = argv[1];
  if (!WyAuditToFile("./audit.log") || !WyTraceToFile("./trace.log", options)) return 1;

  // [output]
  CWyLogOutput* pFile =
      logger.NewLogOutput(WyOutputType::File, "./error.log", WyFileMode::AppendRollBySize, 10, 5);
  if (pFile == nullptr || !logger.SetLogOutput(pFile)) {
    logger.DeleteLogOutput(pFile);  // the caller still owns it
    return 1;
  }
  // [/output]

  // [message]
  CWyErrLogMessage msg(logger.ShouldUseLocalTime());
  msg.FormatLogProlog(__FILE__, __LINE__, 0);
  msg.FormatMessage(SessionStore::Refused, "alice", "20000");
  logger.LogErrMsg(msg);
  // [/message]

  // [audit]
  CWyErrLogMessage record(logger.ShouldUseLocalTime());
  if (record.FormatAuditMessage("allow user=\"%s\" rule=%d\n", "alice", 2)) {
    logger.LogAuditMsg(record);
  }
  // [/audit]

  // [trace]
  CWyTraceData* pData = nullptr;
  if (CWyTraceSupresser::isTracing() && logger.ShouldTraceAlloc(SessionStore::Component, &pData)) {
    CWyTraceSupresser suppress;
    bool bWanted = true;
    if (pData->FieldTraced(WyField::User)) bWanted = pData->SetFieldValue(WyField::User, "alice");
    if (bWanted && pData->FieldTraced(WyField::PreciseTime)) {
      bWanted = pData->SetFieldValue(WyField::PreciseTime, 0);  // the library fills in the time
    }
    if (bWanted && pData->Format()) pData->Log();
    pData->LeaveNoBody();
  }
  // [/trace]
  return 0;
}
