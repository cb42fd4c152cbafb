// What a host asks about the messages that its logger has refused. The account itself is in
// internal/WyLogLossRecord.

#include "wyerrlog/WyLogLoss.h"

#include "wyerrlog/internal/WyLogLossRecord.h"

WyLogLoss WyGetLogLoss(const CWyLogger& logger, WyLogKind log) {
  return CWyLogLossRecord::Read(logger, log);
}

bool WySetLogLossCallback(CWyLogger& logger, WyLogLossCallback pfnCallback, void* pParam) {
  return CWyLogLossRecord::Observe(logger, pfnCallback, pParam);
}
