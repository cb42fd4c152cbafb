// Named loggers, one for each tenant.
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>
#include <wyerrlog/WyLoggerList.h>

namespace {

constexpr unsigned int Information = WyMessageId(WyComponentId(1), WySeverity::Information, 1);

}  // namespace

int main() {
  // [named]
  CWyLogger* pRed = getMyLogger("red.example");
  CWyLogger* pBlue = getMyLogger("blue.example");
  if (pRed == nullptr || pBlue == nullptr) return 1;
  if (!WyLogToFile(*pRed, "./red.log") || !WyLogToFile(*pBlue, "./blue.log")) return 1;

  WyLog(*pRed, Information, "Tenant red started");
  WyLog(*pBlue, Information, "Tenant blue started");
  WyAudit(*pRed, "no audit log is installed\n");  // false
  // [/named]
  return 0;
}
