// A file for audit records: permissions, the disk, days and ages.
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>

#include <cstdio>

int main() {
  // [audit-file]
  WyFileOptions options;
  options.permissions = 0640;
  options.synchronous = true;  // on the disk when WyAudit returns
  options.daily = true;        // a file for each day
  options.maxAgeDays = 90;     // backups older than that are deleted
  if (!WyAuditToFile("audit.log", options)) {
    std::perror("audit.log");
    return 1;
  }
  // [/audit-file]
  return WyAudit("allow user=\"alice\" rule=2\n") ? 0 : 1;
}
