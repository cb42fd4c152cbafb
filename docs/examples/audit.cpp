// An audit record, and a decision that depends on it.
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>

#include <string>

namespace {

// [audit]
bool MayEnter(const std::string& strUser, const std::string& strResource, int iRule) {
  char szTime[25];
  const bool bLocal = theLogger()->ShouldUseLocalTime();
  // Without a record the user is refused.
  return CWyErrLogMessage::GetTime(3, szTime, bLocal, sizeof szTime) &&
         WyAudit("[%s] allow user=\"%s\" resource=\"%s\" rule=%d\n", szTime, strUser.c_str(),
                 strResource.c_str(), iRule);
}
// [/audit]

}  // namespace

int main() {
  // [install]
  if (!WyAuditToFile("audit.log")) return 1;
  // [/install]
  return MayEnter("alice", "/reports/q3.html", 2) ? 0 : 1;
}
