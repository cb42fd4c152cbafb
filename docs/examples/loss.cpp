// What the logs have lost: an alarm, and a page of metrics.
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>
#include <wyerrlog/WyLogLoss.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

// [alarm]
// Called on the thread that logs, when a log begins to lose messages and when it ceases to.
void OnLoss(CWyLogger&, WyLogKind log, const WyLogLoss& loss, void*) {
  if (log != WyLogKind::Audit) return;
  std::printf("audit log: %s\n", loss.bLosing ? std::strerror(loss.iErrno) : "writes again");
}
// [/alarm]

// [metrics]
// A page in the text format of Prometheus.
void PrintMetrics(const CWyLogger& logger) {
  static const char* const s_apszNames[] = {"error", "trace", "audit"};
  std::puts("# TYPE wyerrlog_refused_total counter\n# TYPE wyerrlog_losing gauge");
  for (const auto log : {WyLogKind::Error, WyLogKind::Trace, WyLogKind::Audit}) {
    const WyLogLoss loss = WyGetLogLoss(logger, log);
    const char* const pszName = s_apszNames[static_cast<int>(log)];
    std::printf("wyerrlog_refused_total{log=\"%s\"} %" PRIu64 "\n", pszName, loss.uRefused);
    std::printf("wyerrlog_losing{log=\"%s\"} %d\n", pszName, loss.bLosing);
  }
}
// [/metrics]

}  // namespace

int main() {
  CWyLogger& logger = *theLogger();
  // [install]
  if (!WySetLogLossCallback(logger, OnLoss, nullptr)) return 1;
  // [/install]
  if (!WyAuditToFile("/dev/full")) return 1;  // a device on which every write fails
  WyAudit("lost\n");
  WyAudit("lost\n");
  if (!WyAuditToFile("./audit.log")) return 1;
  WyAudit("kept\n");
  PrintMetrics(logger);
  return 0;
}
