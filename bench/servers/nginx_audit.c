// The audit records of the module for nginx in the comparison.

#include "Record.h"
#include "agent.h"

int agent_write_audit(const agent_request* request, const char* decision, int status) {
  const struct bench_record record = {decision,        request->id,     request->user,
                                      request->client, request->method, request->path,
                                      request->rule};
  const enum bench_logging logging = bench_logging_of_process();
  (void)status;
  if (logging == BENCH_SPDLOG) bench_spdlog(&record);
  if (logging == BENCH_SERVER) {
    ngx_log_error(NGX_LOG_NOTICE, ngx_cycle->log, 0, BENCH_FORMAT, record.id, record.event,
                  record.user, record.client, record.method, record.resource, record.rule);
  }
  return 1;
}
