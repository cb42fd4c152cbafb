// The audit record of a decision. In a file of its own, so that a host can record decisions in
// another way.

#include <wyerrlog/WyLog.h>

#include "AgentLog.h"
#include "IsAuthorizedMessages.h"
#include "RequestText.h"

bool AgentLog::Audit(const AccessRequest& request, Decision decision, int iStatus,
                     WyCallSite where) const {
  CWyLogger& logger = LoggerOf(request);
  CWyAuditRecord record(logger, DecisionText(decision));
  record.Set("user", request.strUser)
      .Set("client", request.strClient)
      .Set("method", request.strMethod)
      .Set("resource", request.strResource)
      .Set("rule", request.iRule);
  if (iStatus != 0) record.Set("status", iStatus);
  if (record.Write()) return true;
  WyLog(logger, {IsAuthorized::AuditFailed, where}, Who(Resource(request), request));
  return false;
}
