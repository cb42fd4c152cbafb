// Audit records.
#include <wyerrlog/WyLog.h>

#include <string>

#include "outputs.h"

namespace {

// [audit]
bool MayEnter(const std::string& strUser, const std::string& strResource, int iRule) {
  // Nobody enters without a record.
  return WyAudit("allow user=\"%s\" resource=\"%s\" rule=%d\n", strUser.c_str(),
                 strResource.c_str(), iRule);
}
// [/audit]

}  // namespace

int main() {
  if (!AuditTo(*theLogger(), "audit.log")) return 1;
  return MayEnter("alice", "/reports/q3.html", 2) ? 0 : 1;
}
