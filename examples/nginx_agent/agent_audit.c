// The audit record of a decision. In a file of its own, so that a comparison of logging costs can
// replace it.

#include "agent.h"

int agent_write_audit(const agent_request* request, const char* decision, int status) {
  wyerrlog_audit* const record = wyerrlog_audit_begin(request->tenant->logger, decision);
  wyerrlog_audit_set(record, "user", request->user);
  wyerrlog_audit_set(record, "client", request->client);
  wyerrlog_audit_set(record, "method", request->method);
  wyerrlog_audit_set(record, "resource", request->path);
  wyerrlog_audit_set_int(record, "rule", request->rule);
  if (status != 0) wyerrlog_audit_set_int(record, "status", status);
  return wyerrlog_audit_write(record);
}
