// The audit records of the module for Apache httpd in the comparison.

#include <httpd.h>
// After httpd.h:
#include <http_log.h>
#include <http_main.h>

#include "AgentLog.h"
#include "Record.h"
#include "RequestText.h"

extern "C" struct module_struct access_agent_module;
APLOG_USE_MODULE(access_agent);

bool AgentLog::Audit(const AccessRequest& request, Decision decision, int, WyCallSite) const {
  const bench_record record{DecisionText(decision),
                            request.strId.c_str(),
                            request.strUser.c_str(),
                            request.strClient.c_str(),
                            request.strMethod.c_str(),
                            request.strResource.c_str(),
                            request.iRule};
  const bench_logging logging = bench_logging_of_process();
  if (logging == BENCH_SPDLOG) bench_spdlog(&record);
  if (logging == BENCH_SERVER) {
    ap_log_error(APLOG_MARK, APLOG_NOTICE, 0, ap_server_conf, BENCH_FORMAT, record.id, record.event,
                 record.user, record.client, record.method, record.resource, record.rule);
  }
  return true;
}
