// The statements around a request: its scope, typed audit records, free texts, limited messages and
// arguments of one's own types.
#include <wyerrlog/WyAuditRecord.h>
#include <wyerrlog/WyLogFile.h>
#include <wyerrlog/WyLogRate.h>
#include <wyerrlog/WyLogText.h>

#include <string>
#include <system_error>

// [own-type]
namespace store {

enum class State { Open, Full };
inline const char* WyToText(State state) { return state == State::Open ? "open" : "full"; }

}  // namespace store
// [/own-type]

namespace {

constexpr unsigned int Warning = WyMessageId(WyComponentId(1), WySeverity::Warning, 1);

// [scope]
void Serve(const std::string& strRequestId, const std::string& strUser) {
  WyRequestScope scope(WyField::TransactionID, strRequestId);
  WY_AUDIT("login").Set("user", strUser).Set("status", strUser == "bob" ? 403 : 200);
}
// [/scope]

// [text]
void OpenCache(const std::string& strPath) {
  const std::error_code error = std::make_error_code(std::errc::permission_denied);
  WyLogText(WySeverity::Warning, "no cache in %s", strPath.c_str());
  WyLog(Warning, error);
}
// [/text]

// [limit]
void Refuse(const std::string& strUser) {
  WY_LOG_EVERY_N(100, WySeverity::Warning, "%s is refused", strUser.c_str());
}
// [/limit]

}  // namespace

int main() {
  if (!WyLogToFile("error.log") || !WyAuditToFile("audit.log")) return 1;
  Serve("7f3a", "alice");
  // [json]
  WySetAuditFormat(WyAuditFormat::Json);
  // [/json]
  Serve("7f3b", "bob");
  OpenCache("/var/cache\n[1/1] forged");
  for (int i = 0; i < 101; ++i) Refuse("bob");
  WyLog(Warning, store::State::Full);
  return 0;
}
